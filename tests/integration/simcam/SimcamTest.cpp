// The mocked device, judged by programs that know real ones.
#include "Packer.h"
#include "SensorMode.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace {

struct SOutcome {
    int status = -1;
    std::string output; ///< both streams
    bool has(const std::string& text) const { return output.find(text) != std::string::npos; }
};

SOutcome run(const std::string& command)
{
    SOutcome outcome;
    FILE* pipe = popen((command + " 2>&1 </dev/null").c_str(), "r");
    std::array<char, 4096> block;
    while (const size_t read = fread(block.data(), 1, block.size(), pipe))
        outcome.output.append(block.data(), read);
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

SOutcome simcam(const std::string& options, const std::string& program)
{
    return run("timeout 60 " OBRI_SIMCAM " " + options + " -- " + program);
}

std::string scratch(const std::string& name)
{
    return testing::TempDir() + "simcam-" + name;
}

/// Columns of the lines of a frame log.
std::vector<std::vector<std::string>> framesIn(const std::string& path)
{
    std::vector<std::vector<std::string>> frames;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        frames.push_back({std::istream_iterator<std::string>(words), {}});
        if (line.starts_with('#'))
            frames.pop_back();
    }
    return frames;
}

/// The pixels of one frame as v4l2-ctl stored it, taken apart bit by bit.
std::vector<uint16_t> samplesOf(const std::vector<uint8_t>& bytes, bool packed)
{
    const auto word = [&](size_t i) { return bytes[2 * i] | bytes[2 * i + 1] << 8; };
    std::vector<uint16_t> samples;
    for (size_t i = 0; !packed && i < bytes.size() / 2; ++i)
        samples.push_back(static_cast<uint16_t>((word(i) & 0xff) << 4 | word(i) >> 8));
    for (size_t i = 0; packed && i < bytes.size() / 2; i += 6) {
        const int a0 = word(i), a1 = word(i + 1), a2 = word(i + 2), a3 = word(i + 3), a4 = word(i + 4),
                  a5 = word(i + 5);
        for (const int sample : {a0 >> 4, a1 >> 4, a2 >> 8 << 4 | (a0 & 15), a3 >> 8 << 4 | (a1 & 15),
                                 (a2 & 255) | a4 >> 12 << 8, (a3 & 255) | a5 >> 12 << 8, a4 & 4095, a5 & 4095})
            samples.push_back(static_cast<uint16_t>(sample));
    }
    return samples;
}

class SentFrames : public testing::TestWithParam<obrisim::SSensorMode> {};

} // namespace

// A wrong offset, a buffer given out twice, a torn or repeated frame would differ from the log.
TEST_P(SentFrames, ArriveWithEveryPixelAndInOrder)
{
    const auto mode = GetParam();
    const std::string log = scratch("frames.log"), stored = scratch("frames.raw");
    const std::string size = "width=" + std::to_string(mode.words) + ",height=" + std::to_string(mode.height);
    const SOutcome outcome = simcam("--pace buffers --start-time 1700000000 --frame-log " + log,
                                    "v4l2-ctl -d /dev/video0 --set-fmt-video=" + size +
                                        " --stream-mmap=5 --stream-count=12 --stream-to=" + stored);
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    const auto frames = framesIn(log);
    ASSERT_GE(frames.size(), 12u);
    std::ifstream file(stored, std::ios::binary);
    for (size_t i = 0; i < 12; ++i) {
        std::vector<uint8_t> bytes(static_cast<size_t>(mode.bytes()));
        ASSERT_TRUE(file.read(reinterpret_cast<char*>(bytes.data()), mode.bytes()));
        const auto samples = samplesOf(bytes, mode.isPacked());
        ASSERT_EQ(samples.size(), size_t(mode.width) * mode.height);
        char hash[32];
        snprintf(hash, sizeof hash, "%016lx",
                 obrisim::hashPixels(obrisim::sFnvBasis, samples.data(), static_cast<int>(samples.size())));
        EXPECT_EQ(frames[i][0], std::to_string(i + 1));
        EXPECT_EQ(frames[i][6], hash) << "frame " << i + 1;
    }
}
INSTANTIATE_TEST_SUITE_P(Size, SentFrames, testing::ValuesIn(obrisim::sensorModes()), [](const auto& kase) {
    return std::to_string(kase.param.width) + "x" + std::to_string(kase.param.height);
});

TEST(Simcam, SameSeedSameFrames)
{
    const std::string program = "v4l2-ctl -d /dev/video0 --stream-mmap=5 --stream-count=6";
    const std::string first = scratch("first.log"), second = scratch("second.log");
    for (const std::string& log : {first, second})
        ASSERT_EQ(simcam("--seed 5 --pace buffers --start-time 1700000000 --frame-log " + log, program).status, 0);
    const auto one = framesIn(first), two = framesIn(second);
    for (size_t i = 0; i < 6; ++i)
        EXPECT_EQ(one[i], two[i]);
}

// The three failures are the real driver's as well: without buffers it answers EBUSY where the judge
// would have EINVAL, and its streaming tests go no further.
TEST(Simcam, SatisfiesTheComplianceTest)
{
    const SOutcome capture = simcam("", "v4l2-compliance -d /dev/video0");
    EXPECT_TRUE(capture.has("Failed: 0,")) << capture.output;
    const SOutcome streaming = simcam("", "v4l2-compliance -d /dev/video0 -s4");
    EXPECT_TRUE(streaming.has("Failed: 3,")) << streaming.output;
    for (const char* passed : {"test blocking wait: OK", "test read/write: OK"})
        EXPECT_TRUE(streaming.has(passed)) << streaming.output;
}

TEST(Simcam, HoldsItsFastestRate)
{
    const std::string log = scratch("fast.log");
    const SOutcome outcome = simcam("--exposure 1 --frame-log " + log,
                                    "v4l2-ctl -d /dev/video0 --set-fmt-video=width=176,height=128 --stream-mmap=5 "
                                    "--stream-count=1000 --stream-to=/dev/null");
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    const auto frames = framesIn(log);
    ASSERT_GE(frames.size(), 1000u);
    // Two milliseconds apart by the camera's clock, however late the threads of a busy machine come.
    EXPECT_EQ(std::stoll(frames[999][2]) - std::stoll(frames[0][2]), 999 * 2'000'000LL);
}

TEST(Simcam, ListsItsNodesAsTheKernelDoes)
{
    const SOutcome outcome = simcam("--video-node 9 --metadata-node 10 --two-cameras", "v4l2-ctl --list-devices");
    for (const char* text : {"OBRI+CAM simulator (usb-0000:00:14.0-3)", "/dev/video9\n", "/dev/video10\n",
                             "(usb-0000:00:14.0-4)", "/dev/video11\n", "/dev/video12\n"})
        EXPECT_TRUE(outcome.has(text)) << text << " in " << outcome.output;
    EXPECT_FALSE(simcam("--no-camera", "v4l2-ctl --list-devices").has("OBRI+CAM"));
    EXPECT_TRUE(simcam("--no-permission", "v4l2-ctl -d /dev/video0 --all").has("/dev/video0"));
}

TEST(Simcam, CableIsPulledAndPluggedInAgain)
{
    const SOutcome outcome = simcam("--unplug-after 3 --replug 0.2", OBRI_HOTPLUG);
    EXPECT_EQ(outcome.output, "node /dev/video0 vendor 1209\n"
                              "node /dev/video1 vendor 1209\n"
                              "remove /dev/video1\n"
                              "remove /dev/video0\n"
                              "add /dev/video4\n"
                              "add /dev/video5\n"
                              "old descriptor: No such device\n"
                              "old node: No such file or directory\n"
                              "new node: there\n"
                              "node /dev/video4 vendor 1209\n"
                              "node /dev/video5 vendor 1209\n");
}

TEST(Simcam, EndsAsItsProgramDoes)
{
    EXPECT_EQ(simcam("", "true").status, 0);
    EXPECT_EQ(simcam("", "sh -c 'exit 37'").status, 37);
    EXPECT_EQ(simcam("", "sh -c 'kill -TERM $$'").status, 128 + 15);
    EXPECT_EQ(simcam("", "/no/such/program").status, 127);
    // A signal to the launcher alone reaches the program, whose own status comes back.
    EXPECT_EQ(simcam("", "sh -c 'sleep 20 & trap \"kill $!; exit 5\" TERM; kill -TERM $PPID; wait'").status, 5);
    EXPECT_EQ(simcam("--no-such-option", "true").status, 2);
    EXPECT_EQ(simcam("--scene /no/such.fits", "true").status, 2);
    EXPECT_TRUE(simcam("--print-scene", "true").has("target 176x128 64.300 47.600\n"));
}

TEST(Simcam, LeavesNothingBehind)
{
    const std::string folder = scratch("tmp");
    std::filesystem::create_directories(folder);
    ASSERT_EQ(run("TMPDIR=" + folder + " timeout 60 " OBRI_SIMCAM " -- true").status, 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}
