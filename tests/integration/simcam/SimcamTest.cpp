// The mocked device, judged by programs that know real ones.
#include <array>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
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

/// The frames of a frame log, a line each.
std::vector<std::string> framesIn(const std::string& path)
{
    std::vector<std::string> frames;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        if (!line.starts_with('#'))
            frames.push_back(line);
    return frames;
}

} // namespace

TEST(Simcam, SameSeedSameFrames)
{
    const std::string program = "v4l2-ctl -d /dev/video0 --stream-mmap=5 --stream-count=6";
    const std::string first = testing::TempDir() + "simcam-first.log",
                      second = testing::TempDir() + "simcam-second.log";
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

TEST(Simcam, EndsAsItsProgramDoes)
{
    EXPECT_EQ(simcam("", "sh -c 'exit 37'").status, 37);
    EXPECT_EQ(simcam("", "/no/such/program").status, 127);
    // A signal to the launcher alone reaches the program, whose own status comes back.
    EXPECT_EQ(simcam("", "sh -c 'sleep 20 & trap \"kill $!; exit 5\" TERM; kill -TERM $PPID; wait'").status, 5);
    EXPECT_EQ(simcam("--no-such-option", "true").status, 2);
    EXPECT_EQ(simcam("--scene /no/such.fits", "true").status, 2);
    EXPECT_TRUE(simcam("--print-scene", "true").has("target 176x128 64.300 47.600\n"));
}
