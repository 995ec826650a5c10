// The camera as its driver shows it: what requests answer, in which order, and what each fault does.
#include "Camera.h"
#include "BinaryOverlay.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <sstream>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

using namespace obrisim;

namespace {

/// One camera and one descriptor of its capture node, used as a program uses them.
class SimulatedCamera : public testing::Test {
protected:
    void TearDown() override { m_camera.reset(); }

    void plug(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"--pace", "buffers", "--start-time", "1700000000"});
        const SOptions options = parseOptions(arguments);
        m_camera =
            std::make_unique<Camera>(options, SIdentity{}, Clock(options.startTimeNs, 0, options.paceByBuffers), [] {});
        m_fd = m_camera->open(false, O_RDWR | O_NONBLOCK);
    }

    template <class T>
    int ask(uint32_t request, T& argument)
    {
        return m_camera->ioctl(m_fd, request, &argument);
    }

    static v4l2_buffer bufferRecord(uint32_t index = 0)
    {
        v4l2_buffer buffer{};
        buffer.index = index;
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        return buffer;
    }
    int onBuffer(uint32_t request, uint32_t index)
    {
        v4l2_buffer buffer = bufferRecord(index);
        return ask(request, buffer);
    }
    int streaming(uint32_t request)
    {
        int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        return ask(request, type);
    }
    int send(std::array<uint8_t, 5> bytes, uint8_t unit = 3)
    {
        uvc_xu_control_query query{unit, 5, 1 /* set */, 5, bytes.data()};
        return ask(static_cast<uint32_t>(UVCIOC_CTRL_QUERY), query);
    }

    /// Starts as the program does: five buffers, all queued.
    void start()
    {
        v4l2_format format{};
        format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        format.fmt.pix.width = 176;
        format.fmt.pix.height = 128;
        ASSERT_EQ(ask(VIDIOC_S_FMT, format), 0);
        v4l2_requestbuffers request{};
        request.count = 5;
        request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        request.memory = V4L2_MEMORY_MMAP;
        ASSERT_EQ(ask(VIDIOC_REQBUFS, request), 0);
        for (uint32_t i = 0; i < 5; ++i)
            ASSERT_EQ(onBuffer(VIDIOC_QBUF, i), 0);
        ASSERT_EQ(streaming(VIDIOC_STREAMON), 0);
    }
    bool isReadable(int timeoutMs = 0)
    {
        pollfd waiting{m_fd, POLLIN, 0};
        return poll(&waiting, 1, timeoutMs) == 1;
    }
    /// Waits for a frame and takes it.
    int take(v4l2_buffer& buffer)
    {
        buffer = bufferRecord();
        return isReadable(5000) ? ask(VIDIOC_DQBUF, buffer) : -ETIME;
    }
    /// What the overlay of a taken frame of 176 x 128 says.
    libobribase::BinaryOverlay overlayOf(const v4l2_buffer& buffer)
    {
        SMapping mapping;
        m_camera->map(m_fd, buffer.length, buffer.m.offset, mapping);
        void* data = mmap(nullptr, buffer.length, PROT_READ, MAP_SHARED, mapping.memoryFd, buffer.m.offset);
        std::vector<uint16_t> row(176);
        for (size_t x = 0; x < row.size(); ++x) {
            const uint16_t word = static_cast<const uint16_t*>(data)[127 * 176 + x];
            row[x] = static_cast<uint16_t>(word << 8 | (word >> 8 & 15) << 4);
        }
        munmap(data, buffer.length);
        m_camera->unmapped(mapping);
        libobribase::BinaryOverlay overlay;
        overlay.ParseBinaryOverlay(row.data(), 0, row.size());
        return overlay;
    }

    std::unique_ptr<Camera> m_camera;
    int m_fd = -1;
};

} // namespace

TEST_F(SimulatedCamera, DescriptorIsReadableUnlessItStreamsWithoutAFrame)
{
    plug({"--stall", "1"});
    start();
    v4l2_buffer buffer;
    ASSERT_EQ(take(buffer), 0);
    EXPECT_FALSE(isReadable(20));
    EXPECT_EQ(onBuffer(VIDIOC_DQBUF, 0), -EAGAIN);
    std::thread stopper([this] { streaming(VIDIOC_STREAMOFF); });
    EXPECT_TRUE(isReadable(2000)) << "stopping wakes the waiting thread";
    stopper.join();
    EXPECT_TRUE(isReadable());
    EXPECT_EQ(onBuffer(VIDIOC_DQBUF, 0), -EINVAL);
}

TEST_F(SimulatedCamera, WithoutABufferFramesAreLostAndCountedAndTheLogTellsThatTheProgramSlept)
{
    const std::string log = testing::TempDir() + "simulated-losses.log";
    unlink(log.c_str());
    plug({"--pace", "time", "--exposure", "1", "--frame-log", log});
    start();
    v4l2_buffer buffer;
    ASSERT_EQ(take(buffer), 0);
    const uint32_t first = overlayOf(buffer).m_frameId;
    usleep(200'000); // a consumer that sleeps through a hundred frames
    std::string asleep;
    std::ifstream file(log);
    for (std::string line; std::getline(file, line);)
        asleep = line.find(" lost ") != std::string::npos && line.ends_with(" S") ? line : asleep;
    ASSERT_NE(asleep.find("1.0000"), std::string::npos) << "no loss while the program slept";
    std::istringstream words(asleep.substr(asleep.find("1.0000") + 6)); // behind the target's part of light
    int64_t behind = 0, handled = -1, ran = -1, gap = 0;
    words >> behind >> handled >> ran >> gap;
    EXPECT_GE(behind, 10'000'000) << asleep;
    EXPECT_EQ(handled, 0);
    EXPECT_LT(ran, behind / 5);
    EXPECT_GT(gap, 8'000'000);
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(take(buffer), 0);
        ASSERT_EQ(ask(VIDIOC_QBUF, buffer), 0);
    }
    ASSERT_EQ(take(buffer), 0);
    EXPECT_GT(buffer.sequence, 20u);
    EXPECT_EQ(overlayOf(buffer).m_frameId - first, buffer.sequence);
}

TEST_F(SimulatedCamera, CommandsShowInTheNextFramesAndInTheLog)
{
    const std::string log = testing::TempDir() + "simulated-commands.log";
    unlink(log.c_str());
    plug({"--command-log", log, "--xu-error", "EPIPE,2,1"});
    EXPECT_EQ(send({0x6e, 24}), 0);
    EXPECT_EQ(send({0x69, 0, 5}), 0);
    EXPECT_EQ(send({0x71, 1}), -EPIPE);
    EXPECT_EQ(send({0x70, 1}), 0);
    EXPECT_EQ(send({0}, 4), -ENOENT);
    start();
    v4l2_buffer buffer;
    ASSERT_EQ(take(buffer), 0);
    const auto overlay = overlayOf(buffer);
    EXPECT_EQ(overlay.m_statusWords[1], 24u << 24 | 50);
    EXPECT_FALSE(overlay.m_flagBit15) << "the refused command had no effect";
    std::ifstream file(log);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line.substr(line.find(' ')));
    EXPECT_EQ(lines, (std::vector<std::string>{" 6e 18 00 00 00", " 69 00 05 00 00", " 71 01 00 00 00 failed 32",
                                               " 70 01 00 00 00"}));
}

TEST_F(SimulatedCamera, FrameLogAccountsForEveryFrame)
{
    const std::string log = testing::TempDir() + "simulated-frames.log";
    unlink(log.c_str());
    plug({"--frame-log", log, "--lose-frames", "2,1", "--occult", "0.05,0.05"});
    start();
    v4l2_buffer buffer;
    for (int i = 0; i < 4; ++i)
        ASSERT_EQ(take(buffer), 0);
    ASSERT_EQ(streaming(VIDIOC_STREAMOFF), 0);
    std::ifstream file(log);
    std::string text(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(text.find("# origin 1700000000000000000\n"), std::string::npos);
    EXPECT_NE(text.find("# target 176x128 64.300 47.600\n"), std::string::npos);
    EXPECT_NE(text.find("# occultation 1700000000050000000 1700000000100000000 0\n"), std::string::npos);
    EXPECT_NE(text.find("\n1 sent 1700000000000000000 1700000000040000000 176 128 "), std::string::npos);
    EXPECT_NE(text.find("\n2 sent 1700000000040000000 1700000000080000000 176 128 "), std::string::npos);
    EXPECT_NE(text.find(" 0.2500\n3 lost 1700000000080000000 1700000000120000000 176 128 0000000000000000 0.5000\n"),
              std::string::npos);
    EXPECT_NE(text.find("\n5 sent "), std::string::npos);
}
