// Which frames a program gets that does not come for them in time.
#include "Camera.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <linux/usb/video.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace obrisim;

namespace {

constexpr int sBuffers = 5, sPeriodMs = 20;

struct SFrameLine {
    std::string fate;
    int64_t behind = 0, handled = 0;
};

/// A disk that stands still: a pipe that nobody empties.
class StoppedDisk {
public:
    explicit StoppedDisk(const std::string& path) : m_path(path)
    {
        mkfifo(path.c_str(), 0600);
        m_end = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        while (write(m_end, m_bytes.data(), m_bytes.size()) > 0) {
        }
    }
    ~StoppedDisk()
    {
        close(m_end);
        std::filesystem::remove(m_path);
    }
    void go() { EXPECT_GT(read(m_end, m_bytes.data(), m_bytes.size()), 0); }

private:
    const std::string m_path;
    std::vector<char> m_bytes = std::vector<char>(4096);
    int m_end = -1;
};

/// A program with five buffers, and what the camera's log says of its frames.
class SlowProgram : public testing::Test {
protected:
    SlowProgram()
    {
        m_buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        m_buffer.memory = V4L2_MEMORY_MMAP;
        v4l2_format format{};
        format.type = m_buffer.type;
        format.fmt.pix.width = 176;
        format.fmt.pix.height = 128;
        ask(VIDIOC_S_FMT, &format);
        v4l2_requestbuffers request{};
        request.count = sBuffers;
        request.type = m_buffer.type;
        request.memory = m_buffer.memory;
        ask(VIDIOC_REQBUFS, &request);
        for (m_buffer.index = 0; m_buffer.index < sBuffers; ++m_buffer.index)
            ask(VIDIOC_QBUF, &m_buffer);
        ask(VIDIOC_STREAMON, &m_buffer.type);
    }
    ~SlowProgram() override { std::filesystem::remove(m_path + ".frames"); }

    SOptions options() const
    {
        std::filesystem::remove(m_path + ".frames");
        SOptions options;
        options.exposureMs = 1;
        options.maxFps = 1000.0 / sPeriodMs;
        options.frameLog = m_path + ".frames";
        options.commandLog = m_path + ".commands";
        return options;
    }
    void ask(unsigned long request, void* argument)
    {
        EXPECT_EQ(m_camera.ioctl(m_fd, static_cast<uint32_t>(request), argument), 0);
    }
    static void work(double periods)
    {
        std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(periods * sPeriodMs));
    }
    void handleFrames(int count, double periodsEach)
    {
        for (int frame = 0; frame < count; ++frame) {
            ask(VIDIOC_DQBUF, &m_buffer);
            work(periodsEach);
            ask(VIDIOC_QBUF, &m_buffer);
        }
    }

    std::vector<SFrameLine> frames() const
    {
        std::vector<SFrameLine> frames;
        std::ifstream file(m_path + ".frames");
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line);
            std::string skipped;
            SFrameLine frame;
            words >> skipped >> frame.fate;
            for (int column = 0; column < 6; ++column)
                words >> skipped;
            words >> frame.behind >> frame.handled;
            if (line.front() != '#')
                frames.push_back(frame);
        }
        return frames;
    }
    std::ptrdiff_t lost() const { return std::ranges::count(frames(), "lost", &SFrameLine::fate); }

    const std::string m_path = testing::TempDir() + "slow-program-" + std::to_string(getpid());
    StoppedDisk m_commands{m_path + ".commands"};
    Camera m_camera{options(), {}, Clock(0, monotonicNs(), false), {}};
    int m_fd = m_camera.open(false, 0);
    v4l2_buffer m_buffer{};
};

} // namespace

// Fails when the camera gives up before the buffers' time is over, or says that the program did something in it.
TEST_F(SlowProgram, ThatDoesNotComeLosesWhatItHasNoBuffersFor)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (lost() < 3 && std::chrono::steady_clock::now() < end)
        work(1);
    const auto seen = frames();
    ASSERT_GT(seen.size(), sBuffers);
    for (size_t i = 0; i < seen.size(); ++i) {
        EXPECT_EQ(seen[i].fate, i < sBuffers ? "sent" : "lost") << i;
        EXPECT_EQ(seen[i].handled, 0) << i;
        EXPECT_GE(seen[i].behind, i < sBuffers ? 0 : sBuffers * sPeriodMs * 1'000'000) << i;
    }
}

// Fails when the camera waits for a buffer as long as it takes.
TEST_F(SlowProgram, ThatNeedsHalfAPeriodTooMuchIsNotWaitedFor)
{
    handleFrames(45, 1.5);
    EXPECT_GT(lost(), 8);
}

// Fails when a program pays for what keeps it at the camera's door: here another thread's command, which is written
// down on a disk that stands still.
TEST_F(SlowProgram, ThatIsNotLetInLosesNothing)
{
    handleFrames(10, 0);
    work(3);
    std::jthread other([&] {
        uint8_t command[5] = {};
        uvc_xu_control_query query{.unit = 3, .selector = 5, .query = UVC_SET_CUR, .size = 5, .data = command};
        ask(UVCIOC_CTRL_QUERY, &query);
    });
    work(0.5);
    std::jthread disk([&] {
        work(2.0 * sBuffers);
        m_commands.go();
    });
    handleFrames(20, 0);
    EXPECT_EQ(lost(), 0);
    ASSERT_GE(frames().size(), 30);
}
