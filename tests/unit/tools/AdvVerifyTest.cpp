#include "AdvVerify.h"
#include "AdvBuilder.h"
#include "CommandLine.h"
#include "JsonWriter.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using namespace obriadv;
using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

SVerifyReport verifyBytes(const std::vector<uint8_t>& bytes)
{
    AdvFile file;
    EXPECT_EQ(openBytes(file, bytes), "");
    return verifyRecording(file, "recording.adv");
}

TEST(AdvVerify, AWholeRecordingHasNoFindings)
{
    const SVerifyReport report = verifyBytes(AdvBuilder().add(30).build());
    EXPECT_EQ(report.text().substr(0, report.text().find('\n')),
              "recording.adv: OK, 30 frames, no frame lost, every byte accounted for");
    EXPECT_EQ(report.exitStatus(), 0) << report.text();
}

TEST(AdvVerify, AnIndexThatWrapsAtThirtyTwoBitsIsNoFault)
{
    AdvBuilder builder;
    builder.add(20); // a frame each 40 s: the ticks of the last ones do not fit into 32 bits
    for (size_t i = 0; i < 20; ++i) {
        builder.frames[i].startNs = AdvBuilder::sFirstStart + static_cast<int64_t>(i) * 40'000'000'000;
        builder.frames[i].endNs = builder.frames[i].startNs + 39'000'000'000;
    }
    const SVerifyReport report = verifyBytes(builder.build());
    EXPECT_EQ(report.exitStatus(), 0) << report.text();
    EXPECT_THAT(report.notes, Contains(HasSubstr("from frame 11 on the index holds only the low 32 bits")));
}

TEST(AdvVerify, RecordsBeyondFourGigabytesAreReached)
{
    constexpr size_t sFrames = 34; // of 128 MiB each
    AdvBuilder builder;
    builder.width = builder.height = 8192;
    builder.isFinished = false;
    builder.build();
    const std::vector<uint8_t> header = builder.build();
    builder.add(1); // one record, its pixels left out below
    const std::vector<uint8_t> bytes = builder.build();
    const size_t pixels = size_t{8192} * 8192 * 2, statusAt = header.size() + 27 + pixels;
    TemporaryFolder folder;
    FILE* const out = fopen(folder.path("long.adv").c_str(), "wb");
    ASSERT_NE(out, nullptr);
    fwrite(header.data(), 1, header.size(), out);
    for (size_t n = 0; n < sFrames; ++n) { // seeking leaves holes that take no room on the disk
        fwrite(bytes.data() + header.size(), 1, 27, out);
        fseeko(out, static_cast<off_t>(pixels), SEEK_CUR);
        fwrite(bytes.data() + statusAt, 1, bytes.size() - statusAt, out);
    }
    ASSERT_EQ(fclose(out), 0);
    AdvFile file;
    ASSERT_EQ(file.open(folder.path("long.adv")), "");
    ASSERT_EQ(file.frames().size(), sFrames);
    EXPECT_GT(file.frames().back().offset, uint64_t{1} << 32);
    EXPECT_EQ(file.frames().back().end(), file.source().size());
    EXPECT_EQ(file.frames().back().status.cameraFrameId, 1000u);
}

struct SFault {
    std::string name;
    std::function<void(AdvBuilder&)> before;                             ///< changes what is built, or
    std::function<void(std::vector<uint8_t>&, const AdvBuilder&)> after; ///< what was built
    std::string finding;
};

class Fault : public testing::TestWithParam<SFault> {};

TEST_P(Fault, IsFound)
{
    AdvBuilder builder;
    builder.add(10);
    if (GetParam().before)
        GetParam().before(builder);
    std::vector<uint8_t> bytes = builder.build();
    if (GetParam().after)
        GetParam().after(bytes, builder);
    const SVerifyReport report = verifyBytes(bytes);
    EXPECT_EQ(report.exitStatus(), 1);
    EXPECT_THAT(report.text(), HasSubstr(GetParam().finding));
    EXPECT_THAT(report.verdict, HasSubstr("finding"));
}

constexpr size_t sIndexEntries = 9 + 4;
constexpr size_t sStatusInFrame = 27 + 96;

INSTANTIATE_TEST_SUITE_P(
    Of, Fault,
    testing::Values(
        SFault{"LostFrame", [](auto& b) { b.frames.erase(b.frames.begin() + 4); }, {}, "1 frame lost"},
        SFault{"StandingCounter",
               [](auto& b) {
                   for (auto& f : b.frames)
                       f.counter = 0;
               },
               {},
               "no running camera counter"},
        SFault{"NoTime", [](auto& b) { b.frames[0].startNs = -1262304000000000000; }, {}, "no valid time: frame 0"},
        SFault{
            "EndBeforeStart", [](auto& b) { b.frames[3].endNs -= 90'000'000; }, {}, "ends before it starts: frame 3"},
        SFault{"ShortPixels", [](auto& b) { b.frames[2].pixels.pop_back(); }, {}, "size of its layout: frame 2"},
        SFault{"UnknownLayout", [](auto& b) { b.frames[2].layout = 9; }, {}, "layout is not defined: frame 2"},
        SFault{"DamagedBlocks", [](auto& b) { b.compression = "LAGARITH16"; }, {}, "cannot be decoded: frame 0, 1"},
        SFault{"Interrupted", [](auto& b) { b.isFinished = false; }, {}, "interrupted"},
        SFault{"WrongIndexTime",
               {},
               [](auto& v, const auto& b) { v[b.indexAt + sIndexEntries + 20]++; },
               "entry does not fit the frame record: frame 1"},
        SFault{"WrongIndexOffset",
               {},
               [](auto& v, const auto& b) { v[b.indexAt + sIndexEntries + 8]++; },
               "entry does not fit"},
        SFault{"WrongIndexLength",
               {},
               [](auto& v, const auto& b) { v[b.indexAt + sIndexEntries + 16]++; },
               "entry does not fit"},
        SFault{"WrongStreamCount", {}, [](auto& v, const auto&) { v[40]++; }, "stream MAIN claims 11 frames"},
        SFault{"WrongMiddle",
               {},
               [](auto& v, const auto& b) { v[b.frameAt[5] + sStatusInFrame + 4]++; },
               "middle of start and end: frame 5"},
        SFault{"WrongDuration",
               {},
               [](auto& v, const auto& b) { v[b.frameAt[5] + sStatusInFrame + 12]++; },
               "from start to end: frame 5"},
        SFault{"MissingEntry",
               {},
               [](auto& v, const auto& b) { v[b.frameAt[5] + sStatusInFrame + 4 + 13 + 7 + 9 + 5 + 2] = 3; },
               "entries are missing: frame 5"},
        SFault{"BytesBehindTheEnd", {}, [](auto& v, const auto&) { v.push_back(0); }, "1 byte not accounted for"}),
    [](const auto& test) { return test.param.name; });

TEST(AdvVerify, ManyBadFramesMakeOneLine)
{
    AdvBuilder builder;
    builder.add(100);
    for (auto& frame : builder.frames)
        frame.layout = 7;
    EXPECT_THAT(verifyBytes(builder.build()).text(), HasSubstr("frame 0, 1, 2, 3, 4, 5, 6, 7 and 92 more"));
}

TEST(CommandLine, StatusTellsWhatHappened)
{
    TemporaryFolder folder;
    const std::string good = folder.path("good.adv"), bad = folder.path("bad.adv"), other = folder.path("other.adv");
    writeWhole(good, AdvBuilder().add(5).build());
    AdvBuilder interrupted;
    interrupted.isFinished = false;
    writeWhole(bad, interrupted.add(5).build());
    writeWhole(other, {'S', 'I', 'M', 'P', 'L', 'E'});
    const struct {
        std::vector<std::string> words;
        int status;
        std::string out, err; ///< how they begin
    } cases[] = {
        {{"verify", good}, 0, good + ": OK", ""},
        {{"verify", bad}, 1, bad + ": 2 findings", ""},
        {{"verify", other}, 2, other + ": not an ADV recording", ""},
        {{"verify", folder.path("none")}, 2, folder.path("none") + ": cannot open", ""},
        {{"info", good}, 0, "file          " + good, ""},
        {{"info", "--json", good}, 0, "{\n  \"file\": ", ""},
        {{"info", other}, 2, "", "obri-adv: " + other},
        {{"info"}, 2, "", "obri-adv: info wants 1 argument, not 0"},
        {{"info", "--yaml", good}, 2, "", "obri-adv: info has no option \"--yaml\""},
        {{"frame", good, "5", folder.path("x.fits")}, 1, "", "obri-adv: " + good + ": there is no frame 5"},
        {{"frame", good, "-1", folder.path("x.fits")}, 2, "", "obri-adv: \"-1\" is no frame number"},
        {{"lightcurve", good}, 2, "", "obri-adv: lightcurve wants"},
        {{"lightcurve", good, "--at"}, 2, "", "obri-adv: \"--at\" wants a value"},
        {{"lightcurve", good, "--at", "3,nan"}, 2, "", "obri-adv: \"--at\" wants two numbers"},
        {{"lightcurve", good, "--at=3,3"}, 1, "", "obri-adv: " + good + ": frame 0: the aperture"},
        {{"compress", bad, folder.path("y.adv")}, 1, "", "obri-adv: " + bad + ": the recording is not whole"},
        {{"repair", other, folder.path("y.adv")}, 2, "", "obri-adv: " + other + ": not an ADV"},
        {{"polish", good}, 2, "", "obri-adv: there is no command \"polish\""},
        {{}, 2, "", "obri-adv: no command given"},
        {{"--help"}, 0, "obri-adv looks into", ""},
        {{"--version"}, 0, "obri-adv ", ""},
    };
    for (const auto& one : cases) {
        std::ostringstream out, err;
        EXPECT_EQ(runTool(one.words, out, err), one.status) << out.str() << err.str();
        EXPECT_THAT(out.str(), StartsWith(one.out));
        EXPECT_THAT(err.str(), StartsWith(one.err));
        const std::string errors = err.str();
        EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), one.err.empty() ? 0 : 1) << errors;
    }
    EXPECT_FALSE(std::filesystem::exists(folder.path("y.adv")));
    EXPECT_FALSE(std::filesystem::exists(folder.path("y.adv.part")));
}

TEST(AdvInfo, TellsWhatTheRecordingHolds)
{
    TemporaryFolder folder;
    const std::string path = folder.path("night.adv");
    AdvBuilder builder;
    builder.add(30);
    builder.frames.erase(builder.frames.begin() + 20);
    for (size_t i = 0; i < 5; ++i)
        builder.frames[i].fix = 1;
    builder.frames[7].satellites = 4;
    builder.frames[8].temperature = -999;
    builder.metadata.push_back({"COMMENT", "\x1b[2Jclear"});
    writeWhole(path, builder.build());
    std::ostringstream text, json, err;
    ASSERT_EQ(runTool({"info", path}, text, err), 0);
    ASSERT_EQ(runTool({"info", path, "--json"}, json, err), 0);
    for (const char* part :
         {"8 x 6, 16 bits", "frames        29\n", "2020-01-01T00:00:00.000 UTC", "38.000 to 38.000 ms",
          "gaps          1, frames lost 1", "no fix (state 0x01), 9 to 9 satellites, frames 0 to 4",
          "fix (state 0x03), 4 to 9 satellites, frames 5 to 28", "raw code 25.00000", "in 28 frames",
          "OBJNAME = Star O'Hara", "COMMENT = ?[2Jclear"})
        EXPECT_THAT(text.str(), HasSubstr(part));
    for (const char* part : {"\"frames\": 29", "\"framesLost\": 1", "\"afterFrame\": 19", "\"fix\": false",
                             "\"framesPerSecond\": 24.1379", "\"interrupted\": false", "\"readings\": 28"})
        EXPECT_THAT(json.str(), HasSubstr(part));
}

} // namespace
