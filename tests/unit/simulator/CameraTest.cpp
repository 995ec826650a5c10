// The camera as its driver shows it: what requests answer, in which order, and what each fault does.
#include "Camera.h"
#include "BinaryOverlay.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

using namespace obrisim;

namespace {

/// One camera and one descriptor of its capture node, used as a program uses them.
class SimulatedCamera : public testing::Test {
protected:
    void TearDown() override { m_camera.reset(); }

    void plug(const std::vector<std::string>& arguments)
    {
        std::vector<std::string> all{"--pace", "buffers", "--start-time", "1700000000"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const SOptions options = parseOptions(all);
        m_camera = std::make_unique<Camera>(options, SIdentity{}, Clock(options.startTimeNs, 0, options.paceByBuffers),
                                            [this] { m_unplugged = true; });
        m_fd = m_camera->open(false, O_RDWR | O_NONBLOCK);
    }

    template <class T>
    int ask(uint32_t request, T& argument)
    {
        return m_camera->ioctl(m_fd, request, &argument);
    }

    int setFormat(uint32_t words, uint32_t height)
    {
        v4l2_format format{};
        format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        format.fmt.pix.width = words;
        format.fmt.pix.height = height;
        return ask(VIDIOC_S_FMT, format);
    }
    int requestBuffers(uint32_t count, uint32_t* granted = nullptr)
    {
        v4l2_requestbuffers request{};
        request.count = count;
        request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        request.memory = V4L2_MEMORY_MMAP;
        const int result = ask(VIDIOC_REQBUFS, request);
        if (granted)
            *granted = request.count;
        return result;
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
    int send(std::array<uint8_t, 5> bytes, uint8_t unit = 3, uint8_t selector = 5, uint16_t size = 5)
    {
        uvc_xu_control_query query{unit, selector, 1 /* set */, size, bytes.data()};
        return ask(static_cast<uint32_t>(UVCIOC_CTRL_QUERY), query);
    }

    /// Starts as the program does: five buffers, all queued.
    void start(uint32_t words = 176, uint32_t height = 128)
    {
        ASSERT_EQ(setFormat(words, height), 0);
        ASSERT_EQ(requestBuffers(5), 0);
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
    std::atomic<bool> m_unplugged{false};
    int m_fd = -1;
};

} // namespace

TEST_F(SimulatedCamera, BothNodesClaimCaptureForTheDeviceAndDifferInTheirOwn)
{
    plug({"--name", "OBRI+CAM x"});
    v4l2_capability capture{}, metadata{};
    ASSERT_EQ(ask(VIDIOC_QUERYCAP, capture), 0);
    const int node = m_camera->open(true, O_RDWR);
    ASSERT_EQ(m_camera->ioctl(node, VIDIOC_QUERYCAP, &metadata), 0);
    EXPECT_STREQ(reinterpret_cast<const char*>(capture.card), "OBRI+CAM x");
    EXPECT_EQ(capture.capabilities, 0x84a00001u);
    EXPECT_EQ(metadata.capabilities, 0x84a00001u);
    EXPECT_EQ(capture.device_caps, 0x04200001u);
    EXPECT_EQ(metadata.device_caps, 0x04a00000u);
    uvc_xu_control_query query{};
    EXPECT_EQ(m_camera->ioctl(node, static_cast<uint32_t>(UVCIOC_CTRL_QUERY), &query), -ENOTTY);
    v4l2_fmtdesc format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    EXPECT_EQ(m_camera->ioctl(node, VIDIOC_ENUM_FMT, &format), -EINVAL);
}

TEST_F(SimulatedCamera, BusyRulesHold)
{
    plug({});
    EXPECT_EQ(onBuffer(VIDIOC_QUERYBUF, 0), -EBUSY) << "no buffers yet";
    ASSERT_EQ(setFormat(1218, 1240), 0);
    ASSERT_EQ(requestBuffers(5), 0);
    v4l2_buffer last = bufferRecord(4);
    ASSERT_EQ(ask(VIDIOC_QUERYBUF, last), 0);
    EXPECT_EQ(last.length, 3020640u);
    EXPECT_EQ(last.m.offset, 0xb88000u);
    EXPECT_EQ(onBuffer(VIDIOC_QUERYBUF, 5), -EINVAL);
    EXPECT_EQ(setFormat(176, 128), -EBUSY) << "buffers exist";
    EXPECT_EQ(onBuffer(VIDIOC_QBUF, 0), 0);
    EXPECT_EQ(onBuffer(VIDIOC_QBUF, 0), -EINVAL) << "queued already";
    EXPECT_EQ(onBuffer(VIDIOC_DQBUF, 0), -EINVAL) << "not streaming";
    const int other = m_camera->open(false, O_RDWR);
    v4l2_buffer buffer = bufferRecord();
    EXPECT_EQ(m_camera->ioctl(other, VIDIOC_DQBUF, &buffer), -EBUSY) << "another descriptor's stream";
    ASSERT_EQ(requestBuffers(0), 0);
    for (const uint32_t request : {VIDIOC_QUERYBUF, VIDIOC_QBUF, VIDIOC_DQBUF})
        EXPECT_EQ(onBuffer(request, 0), -EBUSY);
    EXPECT_EQ(streaming(VIDIOC_STREAMON), -EBUSY);
    EXPECT_EQ(setFormat(176, 128), 0);
}

// libv4l2 asks for the flag, and refuses to free buffers that carry it.
TEST_F(SimulatedCamera, BuffersSayWhetherTheyAreMapped)
{
    plug({});
    ASSERT_EQ(requestBuffers(2), 0);
    const auto flagsOf = [this](uint32_t index) {
        v4l2_buffer buffer = bufferRecord(index);
        ask(VIDIOC_QUERYBUF, buffer);
        return buffer.flags;
    };
    v4l2_buffer second = bufferRecord(1);
    ASSERT_EQ(ask(VIDIOC_QUERYBUF, second), 0);
    SMapping mapping, none;
    EXPECT_EQ(m_camera->map(m_fd, second.length, second.m.offset + 4096, none), -EINVAL);
    EXPECT_EQ(m_camera->map(m_fd, second.length, 2 * second.m.offset, none), -EINVAL);
    ASSERT_EQ(m_camera->map(m_fd, second.length, second.m.offset, mapping), 0);
    EXPECT_EQ(flagsOf(0), 0x00012000u);
    EXPECT_EQ(flagsOf(1), 0x00012001u);
    ASSERT_EQ(requestBuffers(2), 0);
    m_camera->unmapped(mapping); // of memory let go of before: counts for nothing
    EXPECT_EQ(flagsOf(1), 0x00012000u);
}

TEST_F(SimulatedCamera, DescriptorIsReadableUnlessItStreamsWithoutAFrame)
{
    plug({"--stall", "1"});
    EXPECT_TRUE(isReadable());
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

TEST_F(SimulatedCamera, FramesCarryTrueTimesAndComeAgainAfterARestart)
{
    plug({"--exposure", "20"});
    for (int stream = 0; stream < 2; ++stream) {
        start();
        for (uint32_t i = 0; i < 12; ++i) {
            v4l2_buffer buffer;
            ASSERT_EQ(take(buffer), 0);
            EXPECT_EQ(buffer.flags & ~1u, 0x00012000u);
            EXPECT_EQ(buffer.sequence, i) << "starts at 0 with every stream";
            EXPECT_EQ(buffer.bytesused, 176u * 128 * 2);
            const auto overlay = overlayOf(buffer);
            ASSERT_TRUE(overlay.m_isValid);
            EXPECT_EQ((overlay.m_toTime.milliseconds - overlay.m_fromTime.milliseconds + 1000) % 1000, 20);
            ASSERT_EQ(ask(VIDIOC_QBUF, buffer), 0);
        }
        ASSERT_EQ(streaming(VIDIOC_STREAMOFF), 0);
        ASSERT_EQ(requestBuffers(0), 0);
    }
}

TEST_F(SimulatedCamera, WithoutABufferFramesAreLostAndCounted)
{
    plug({"--pace", "time", "--exposure", "1"});
    start();
    v4l2_buffer buffer;
    ASSERT_EQ(take(buffer), 0);
    const uint32_t first = overlayOf(buffer).m_frameId;
    usleep(200'000); // a consumer that sleeps through a hundred frames
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
    EXPECT_EQ(send({0}, 3, 6), -ENOENT);
    EXPECT_EQ(send({0}, 3, 5, 4), -ENOBUFS);
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

TEST_F(SimulatedCamera, RequestFaultsFailAsOftenAsAsked)
{
    plug({"--format-error", "EIO,0,1", "--qbuf-error", "EIO,1,1", "--streamon-error", "ENOSPC,0,1", "--map-error",
          "ENOMEM,0,1", "--dqbuf-error", "EIO,0,1", "--streamoff-error", "EIO,0,1", "--grant-buffers", "2"});
    EXPECT_EQ(setFormat(176, 128), -EIO);
    EXPECT_EQ(setFormat(176, 128), 0);
    uint32_t granted = 0;
    EXPECT_EQ(requestBuffers(5, &granted), 0);
    EXPECT_EQ(granted, 2u);
    SMapping mapping;
    EXPECT_EQ(m_camera->map(m_fd, 4096, 0, mapping), -ENOMEM);
    EXPECT_EQ(m_camera->map(m_fd, 4096, 0, mapping), 0);
    EXPECT_EQ(onBuffer(VIDIOC_QBUF, 0), 0);
    EXPECT_EQ(onBuffer(VIDIOC_QBUF, 1), -EIO);
    EXPECT_EQ(onBuffer(VIDIOC_QBUF, 1), 0);
    EXPECT_EQ(streaming(VIDIOC_STREAMON), -ENOSPC);
    EXPECT_EQ(streaming(VIDIOC_STREAMON), 0);
    v4l2_buffer buffer;
    EXPECT_EQ(take(buffer), -EIO);
    EXPECT_EQ(take(buffer), 0) << "the frame is still there";
    EXPECT_EQ(streaming(VIDIOC_STREAMOFF), -EIO);
    EXPECT_EQ(streaming(VIDIOC_STREAMOFF), 0);
}

TEST_F(SimulatedCamera, FrameFaultsStrikeTheirFrames)
{
    plug({"--bad-preamble", "0,1", "--bad-checksum", "1,1", "--year", "2059,2,1", "--lose-frames", "3,2",
          "--short-frame", "5,1"});
    start();
    v4l2_buffer buffers[4];
    for (v4l2_buffer& buffer : buffers)
        ASSERT_EQ(take(buffer), 0);
    EXPECT_FALSE(overlayOf(buffers[0]).m_isValid);
    EXPECT_FALSE(overlayOf(buffers[1]).m_isValid);
    EXPECT_EQ(overlayOf(buffers[2]).m_toTime.year, 2059);
    EXPECT_EQ(overlayOf(buffers[3]).m_frameId, 6u) << "frames 4 and 5 were never sent";
    EXPECT_EQ(buffers[3].sequence, 3u) << "the driver does not know of them";
    EXPECT_EQ(buffers[3].bytesused, 176u * 128) << "half a frame";
    EXPECT_EQ(buffers[3].flags & V4L2_BUF_FLAG_ERROR, 0u);
}

TEST_F(SimulatedCamera, DeadStreamReturnsItsBuffersAndLivesAgainAfterARestart)
{
    plug({"--dead", "1,1"});
    start();
    v4l2_buffer buffer;
    ASSERT_EQ(take(buffer), 0);
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(take(buffer), 0);
        EXPECT_EQ(buffer.bytesused, 0u);
        EXPECT_TRUE(buffer.flags & V4L2_BUF_FLAG_ERROR);
    }
    EXPECT_FALSE(isReadable(50));
    ASSERT_EQ(streaming(VIDIOC_STREAMOFF), 0);
    for (uint32_t i = 0; i < 5; ++i)
        ASSERT_EQ(onBuffer(VIDIOC_QBUF, i), 0);
    ASSERT_EQ(streaming(VIDIOC_STREAMON), 0);
    ASSERT_EQ(take(buffer), 0);
    EXPECT_FALSE(buffer.flags & V4L2_BUF_FLAG_ERROR);
}

TEST_F(SimulatedCamera, UnpluggedItAnswersNoDeviceToEverything)
{
    plug({"--unplug-after", "2"});
    start();
    while (!m_unplugged)
        usleep(1000);
    EXPECT_TRUE(isReadable());
    EXPECT_TRUE(isReadable());
    for (const uint32_t request : {VIDIOC_QBUF, VIDIOC_DQBUF})
        EXPECT_EQ(onBuffer(request, 0), -ENODEV);
    EXPECT_EQ(setFormat(176, 128), -ENODEV);
    EXPECT_EQ(streaming(VIDIOC_STREAMOFF), -ENODEV);
    EXPECT_EQ(send({0x70, 0}), -ENODEV);
    EXPECT_TRUE(m_camera->isGone());
    m_camera->close(m_fd);
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
