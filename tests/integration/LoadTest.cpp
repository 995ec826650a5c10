#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <stop_token>
#include <thread>
#include <unistd.h>

using testing::IsEmpty;

namespace {

constexpr int sStallMs = 3000;
constexpr size_t sStallCountdown = 40; // frames of the recording before the main loop stands still

/// Writes to the same disk as fast as it takes it, as another program would; counts the megabytes.
void writeBeside(const std::stop_token& stop, const std::filesystem::path& path, uint64_t* megabytes)
{
    constexpr uint64_t sFileMegabytes = 512; // then from the start again: disks are small
    const std::vector<char> block(1 << 20, 'x');
    const int file = open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0600);
    while (!stop.stop_requested()) {
        if (*megabytes % sFileMegabytes == 0)
            lseek(file, 0, SEEK_SET);
        if (write(file, block.data(), block.size()) != static_cast<ssize_t>(block.size()))
            break;
        if (++*megabytes % 64 == 0)
            fdatasync(file);
    }
    close(file);
}

struct SLoad {
    const char* name;
    SFrameSize size;
    const char* pace;
    int framesPerSecond; ///< asked of the camera
    int exposureMs;
    double seconds;
    bool mayLose;         ///< faster than this machine promises
    bool isAlone = false; ///< no other program writes
};

std::ostream& operator<<(std::ostream& stream, const SLoad& load)
{
    return stream << load.name;
}

std::vector<SLoad> loads()
{
    const double seconds = isNightly() ? 60 : 5;
    const SLoad fullInTime{"FullAt13InTime", sFullSize, "time", 0, 40, seconds, false};
    const SLoad smallInTime{"SmallAt1000InTime", sSmallSize, "time", 1000, 1, seconds, true};
    if (!isNightly())
        return {fullInTime, smallInTime};
    return {fullInTime,
            smallInTime,
            {"SmallAt1000ByBuffers", sSmallSize, "buffers", 1000, 1, seconds, false},
            {"FullFastestByBuffers", sFullSize, "buffers", 1000, 1, seconds / 3, false},
            {"FullAt25InTime", sFullSize, "time", 25, 40, seconds / 2, true},
            {"FullAt60InTime", sFullSize, "time", 60, 1, seconds / 3, true},
            {"SmallAt500InTime", sSmallSize, "time", 500, 1, seconds, true},
            {"SmallAt1000Alone", sSmallSize, "time", 1000, 1, seconds, true, true}};
}

/// A frame that found no buffer, and how the program was doing then, as the camera's log tells it. Times in ns.
struct SLostFrame {
    uint32_t id = 0;
    int64_t behind = 0;    ///< since when the program was behind without a break
    int64_t handled = 0;   ///< frames it gave back in that
    int64_t gap = 0;       ///< the longest it was kept from running in that
    char state = 0;        ///< what it was doing; 0: the frame was lost for another reason
    size_t before = 0;     ///< frames of the recording that were sent before it
    std::string line = {}; ///< of the log
};

std::ostream& operator<<(std::ostream& stream, const SLostFrame& frame)
{
    return stream << frame.line;
}

std::vector<SLostFrame> lostFrames(const std::vector<std::string>& log, std::pair<uint32_t, uint32_t> span)
{
    std::vector<SLostFrame> lost;
    size_t sent = 0;
    for (const std::string& line : log) {
        std::istringstream words(line);
        SLostFrame frame{.before = sent, .line = line};
        std::string fate, other;
        words >> frame.id >> fate;
        for (int column = 0; column < 6; ++column)
            words >> other;
        words >> frame.behind >> frame.handled >> other >> frame.gap >> frame.state;
        if (frame.id < span.first || frame.id > span.second)
            continue;
        sent += fate == "sent";
        if (fate == "lost")
            lost.push_back(frame);
    }
    return lost;
}

/// Frames that were lost for another reason than the wait for a processor.
///
/// The camera has five buffers: a program that needs a fraction of a period for a frame loses one only when it is kept
/// from its work for about five periods. It waits for a processor then (R), or in a request for the simulated camera's
/// thread, which waits for one itself (C). One that waits for a disk, a lock or the main loop is in D or S; one that is
/// too slow shows it in the cost of all frames. What its clock shows beyond that cost is not its own: under such a
/// writer, the interrupts of the disk take milliseconds of the thread they meet, and the machine below may take more.
/// While the recording starts, the program waits until its file is open; the frames in the five buffers come into it
/// first.
std::vector<SLostFrame> unexplained(std::vector<SLostFrame> lost)
{
    std::erase_if(lost, [](const SLostFrame& frame) {
        const bool isStart = frame.state == 'S' && frame.before <= 5;
        return frame.state == 'R' || frame.state == 'C' || isStart;
    });
    return lost;
}

/// The program's thread of a name; 0 when there is none.
pid_t threadOf(const Program& program, const std::string& name)
{
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(program.processId()) + "/task"))
        if (contentsOf(task.path() / "comm") == name + "\n")
            return std::stoi(task.path().filename());
    return 0;
}

/// Processor time in ns that a thread has used.
int64_t processorTime(pid_t thread)
{
    int64_t used = 0;
    std::istringstream(contentsOf("/proc/" + std::to_string(thread) + "/schedstat")) >> used;
    return used;
}

/// Prints how frames were lost. @return those lost without a single gap longer than five periods: a wait for a
/// processor, or one in which no frame was given back, because interrupts took the processor
std::vector<SLostFrame> lostInSeveralGaps(const std::vector<SLostFrame>& lost, int64_t periodNs)
{
    int64_t longest = 0;
    size_t waiting = 0;
    std::vector<SLostFrame> several;
    for (const SLostFrame& frame : lost) {
        longest = std::max(longest, frame.gap);
        waiting += frame.gap > 5 * periodNs;
        if (frame.gap <= 5 * periodNs && frame.handled > 0)
            several.push_back(frame);
    }
    printf("load: %zu lost in one wait longer than five periods, %zu in one gap of that length that was no wait alone, "
           "%zu in several gaps; the longest wait %.1f ms\n",
           waiting, lost.size() - waiting - several.size(), several.size(), static_cast<double>(longest) / 1e6);
    return several;
}

/// Seconds of a recording by the camera's clock.
double secondsOf(const SHeld& held, const std::map<uint32_t, SCameraFrame>& camera)
{
    return static_cast<double>(camera.at(held.span->second).endNs - camera.at(held.span->first).startNs) / 1e9;
}

/// What a table of limits says of a recording.
void printFigures(const SLoad& load, const SHeld& held, double seconds, uint64_t disk)
{
    printf("load %s: %zu frames, %.1f a second by the camera's clock, %zu lost by the camera, %zu missing; "
           "main loop stalled %d ms, %llu MB written beside\n",
           load.name, held.frames, static_cast<double>(held.frames + held.lostByCamera) / seconds, held.lostByCamera,
           held.missing, sStallMs, static_cast<unsigned long long>(disk));
}

class Load : public testing::TestWithParam<SLoad> {};

} // namespace

// Fails when a busy disk and a window that stands still cost a frame at a rate that is promised, or when a frame that
// is lost beyond that rate is not counted, or was lost by a program that could have run.
TEST_P(Load, LosesNothingThatWasSentAndCountsWhatWasNot)
{
    if (sIsSanitized)
        GTEST_SKIP() << "in real time";
    const SLoad& load = GetParam();
    std::vector<std::string> simulator{"--pace", load.pace};
    if (load.framesPerSecond > 0)
        simulator.insert(simulator.end(), {"--fps", std::to_string(load.framesPerSecond)});
    for (const std::string& word : loading(OBRI_HINDRANCE))
        simulator.push_back(word);
    Program program(
        {.simulator = simulator, .environment = {{"OBRI_TEST_STALL", "stall-now," + std::to_string(sStallMs)}}});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, load.size));
    ASSERT_NO_FATAL_FAILURE(setExposure(program, load.exposureMs));

    uint64_t written = 0;
    int64_t used = 0;
    const pid_t streaming = threadOf(program, "streaming");
    const bool hasPriority = sched_getscheduler(streaming) == (SCHED_RR | SCHED_RESET_ON_FORK);
    {
        std::jthread writer;
        if (!load.isAlone)
            writer = std::jthread(writeBeside, program.folder() / "other-program.dat", &written);
        ASSERT_NO_FATAL_FAILURE(startRecording(program));
        used = -processorTime(streaming);
        ASSERT_TRUE(program.waitForMoreFrames(sStallCountdown));
        std::ofstream(program.folder() / "stall-now").flush();
        std::this_thread::sleep_for(Seconds(load.seconds));
        EXPECT_FALSE(std::filesystem::exists(program.folder() / "stall-now")) << "the main loop never stood still";
        used += processorTime(streaming);
        ASSERT_NO_FATAL_FAILURE(stopRecording(program));
    }
    quit(program);

    const SHeld held = judgeRecording(program);
    ASSERT_TRUE(held.span);
    const double seconds = secondsOf(held, parseFrameLog(program.frameLog()));
    printFigures(load, held, seconds, written);
    if (load.pace == std::string("time")) {
        EXPECT_GT(seconds, 0.98 * load.seconds) << "the camera did not keep its rate";
    }
    const int64_t cost = used / static_cast<int64_t>(std::max<size_t>(held.frames, 1));
    printf("load %s: %.3f ms of the streaming thread (%s) for a frame\n", load.name, static_cast<double>(cost) / 1e6,
           hasPriority ? "real-time" : "ordinary");
    EXPECT_GT(cost, 0) << "no thread of the name";
    if (load.mayLose) {
        const auto lost = lostFrames(program.frameLog(), *held.span);
        EXPECT_EQ(lost.size(), held.lostByCamera);
        const int64_t period = 1'000'000'000 / load.framesPerSecond;
        const auto several = lostInSeveralGaps(lost, period);
        // In a short run beside whatever else a machine has to do, interrupts split a gap now and then.
        if (isNightly() && hasPriority && !isBusyElsewhere()) {
            EXPECT_THAT(several, IsEmpty());
        }
        EXPECT_LT(cost, period / 2);
        // A program that takes long for a frame now and then loses frames with nothing else to do. So it does, a few,
        // where the machine below takes the processor away for milliseconds.
        if (load.isAlone) {
            EXPECT_LT(400 * lost.size(), held.frames) << testing::PrintToString(lost);
        }
        EXPECT_THAT(unexplained(lost), IsEmpty());
    }
    if (!load.mayLose)
        expectNoneLost(held);
}

INSTANTIATE_TEST_SUITE_P(Rate, Load, testing::ValuesIn(loads()), testing::PrintToStringParamName());
