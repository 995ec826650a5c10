// The mocked device, judged by programs that know real ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

using testing::HasSubstr;

namespace {

struct SOutcome {
    int status = -1;
    std::string output; ///< both streams
};

/// Runs a program of the shell with the simulated camera.
SOutcome simcam(const std::string& options, const std::string& program)
{
    SOutcome outcome;
    FILE* pipe = popen(("exec 2>&1 </dev/null; timeout 60 " OBRI_SIMCAM " " + options + " -- " + program).c_str(), "r");
    for (int c; (c = fgetc(pipe)) != EOF;)
        outcome.output += static_cast<char>(c);
    outcome.status = WEXITSTATUS(pclose(pipe));
    return outcome;
}

} // namespace

// The three failures are the real driver's as well: without buffers it answers EBUSY where the judge
// would have EINVAL, and its streaming tests go no further.
TEST(Simcam, SatisfiesTheComplianceTest)
{
    EXPECT_THAT(simcam("", "v4l2-compliance -d /dev/video0").output, HasSubstr("Failed: 0,"));
    const std::string streaming = simcam("", "v4l2-compliance -d /dev/video0 -s4").output;
    for (const char* verdict : {"Failed: 3,", "test blocking wait: OK", "test read/write: OK"})
        EXPECT_THAT(streaming, HasSubstr(verdict));
}

TEST(Simcam, EndsAsItsProgramDoes)
{
    EXPECT_EQ(simcam("", "sh -c 'exit 37'").status, 37);
    EXPECT_EQ(simcam("", "/no/such/program").status, 127);
    // A signal to the launcher alone reaches the program, whose own status comes back.
    EXPECT_EQ(simcam("", "sh -c 'sleep 20 & trap \"kill $!; exit 5\" TERM; kill -TERM $PPID; wait'").status, 5);
    EXPECT_EQ(simcam("--no-such-option", "true").status, 2);
    EXPECT_EQ(simcam("--scene /no/such.fits", "true").status, 2);
    EXPECT_THAT(simcam("--print-scene", "true").output, HasSubstr("target 176x128 64.300 47.600\n"));
}
