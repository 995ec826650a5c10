#include "AdvVerify.h"
#include "../base/TemporaryFolder.h"
#include "AdvInfo.h"
#include "CommandLine.h"
#include "OpenBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using namespace obriadv;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int64_t sNoClockNs = -1262304000'000'000'000; // 1970, which is written for years out of range

SVerifyReport verifyBytes(const Bytes& bytes)
{
    AdvFile file;
    EXPECT_EQ(openBytes(file, bytes), "");
    return verifyRecording(file, "recording.adv");
}

TEST(AdvVerify, AnIndexThatWrapsAtThirtyTwoBitsIsNoFault)
{
    AdvBuilder builder;
    for (auto& frame : builder.add(20).frames) { // 40 s each: the ticks of the last ones do not fit into 32 bits
        frame.startNs += 999 * (frame.startNs - AdvBuilder::sFirstStart);
        frame.endNs = frame.startNs + 39'000'000'000;
    }
    const SVerifyReport report = verifyBytes(builder.build());
    EXPECT_EQ(report.exitStatus(), 0) << report.text();
    EXPECT_THAT(report.notes, testing::Contains(HasSubstr("from frame 11 on the index holds only the low 32 bits")));
    builder.frames[5].startNs = builder.frames[5].endNs = sNoClockNs;
    EXPECT_THAT(verifyBytes(builder.build()).text(), testing::Not(HasSubstr("index entry")));
}

TEST(AdvVerify, RecordsBeyondFourGigabytesAreReached)
{
    constexpr size_t sFrames = 34; // of 128 MiB each
    AdvBuilder builder(8192, 8192);
    builder.isFinished = false;
    const Bytes bytes = builder.add(1).build(); // one record, its pixels left out below
    const size_t pixels = builder.frames[0].pixels.size(), recordAt = builder.frameAt[0];
    const size_t statusAt = recordAt + 27 + pixels;
    const TemporaryFolder folder;
    const auto* text = reinterpret_cast<const char*>(bytes.data());
    std::ofstream out("long.adv", std::ios::binary);
    out.write(text, static_cast<std::streamsize>(recordAt));
    for (size_t n = 0; n < sFrames; ++n) { // seeking leaves holes that take no room on the disk
        out.write(text + recordAt, 27);
        out.seekp(static_cast<std::streamoff>(pixels), std::ios::cur);
        out.write(text + statusAt, static_cast<std::streamsize>(bytes.size() - statusAt));
    }
    out.close();
    AdvFile file;
    ASSERT_EQ(file.open("long.adv"), "");
    ASSERT_EQ(file.frames().size(), sFrames);
    EXPECT_EQ(file.frames().back().end(), file.source().size());
    EXPECT_EQ(file.frames().back().status.cameraFrameId, 1000u);
}

void expectFinding(const Bytes& bytes, const std::string& finding)
{
    const SVerifyReport report = verifyBytes(bytes);
    EXPECT_EQ(report.exitStatus(), 1) << finding;
    EXPECT_THAT(report.text(), HasSubstr(finding));
}

TEST(AdvVerify, FindsWhatWasRecordedWrongly)
{
    const std::pair<void (*)(AdvBuilder&), const char*> faults[] = {
        {[](auto& b) { b.frames.erase(b.frames.begin() + 4); }, "1 frame lost"},
        {[](auto& b) { std::for_each(b.frames.begin(), b.frames.end(), [](auto& f) { f.counter = 0; }); },
         "no running camera counter"},
        {[](auto& b) { std::for_each(b.frames.begin(), b.frames.end(), [](auto& f) { f.layout = 9; }); },
         "layout is not defined: frame 0, 1, 2, 3, 4, 5, 6, 7 and 2 more"},
        {[](auto& b) { b.frames[0].startNs = sNoClockNs; }, "no valid time: frame 0"},
        {[](auto& b) { b.frames[3].endNs -= 90'000'000; }, "ends before it starts: frame 3"},
        {[](auto& b) { b.frames[2].pixels.pop_back(); }, "size of its layout: frame 2"},
        {[](auto& b) { b.compression = "LAGARITH16"; }, "cannot be decoded: frame 0, 1"},
        {[](auto& b) { b.isFinished = false; }, "interrupted"},
    };
    for (const auto& [spoil, finding] : faults) {
        AdvBuilder builder;
        spoil(builder.add(10));
        expectFinding(builder.build(), finding);
    }
}

TEST(AdvVerify, FindsADamagedByteThatNoFrameIsLostFor)
{
    AdvBuilder builder;
    const Bytes whole = builder.add(10).build();
    const uint64_t entries = builder.indexAt + 9 + 4, status = builder.frameAt[5] + 27 + 96;
    const std::pair<uint64_t, const char*> faults[] = {
        {entries + 20, "entry does not fit the frame record: frame 1"}, // time
        {entries + 8, "entry does not fit"},                            // offset
        {entries + 16, "entry does not fit"},                           // length
        {40, "stream MAIN claims 11 frames"},
        {status + 4, "middle of start and end: frame 5"},
        {status + 12, "from start to end: frame 5"},
        {status + 4 + 13 + 7 + 9 + 5, "entries are missing: frame 5"}};
    for (const auto& [at, finding] : faults) {
        Bytes bytes = whole;
        ++bytes[at];
        expectFinding(bytes, finding);
    }
    Bytes longer = whole;
    longer.push_back(0);
    expectFinding(longer, "1 byte not accounted for");
}

TEST(CommandLine, StatusTellsWhatHappened)
{
    const TemporaryFolder folder;
    AdvBuilder interrupted, eightBits, damaged;
    interrupted.isFinished = false;
    eightBits.bits = 8;
    damaged.compression = "LAGARITH16";
    writeWhole("eight.adv", eightBits.add(1).build());
    writeWhole("damaged.adv", damaged.add(1).build());
    writeWhole("good.adv", AdvBuilder().add(5).build());
    writeWhole("bad.adv", interrupted.add(5).build());
    writeWhole("other.adv", {'S', 'I', 'M', 'P', 'L', 'E'});
    Bytes old = readWhole("good.adv");
    writeWhole("cut.adv", Bytes(old.begin(), old.begin() + 60));
    old[4] = 1;
    writeWhole("old.adv", old);
    // Words, status, and how what is said begins.
    const std::tuple<std::vector<std::string>, int, std::string> cases[] = {
        {{"verify", "good.adv"}, 0, "good.adv: OK, 5 frames, no frame lost, every byte accounted for"},
        {{"verify", "bad.adv"}, 1, "bad.adv: 2 findings"},
        {{"verify", "other.adv"}, 2, "other.adv: not an ADV recording"},
        {{"verify", "none"}, 2, "none: cannot open \"none\" (No such file or directory)"},
        {{"verify", "/dev/zero"}, 2, "/dev/zero: \"/dev/zero\" is not a regular file"},
        {{"verify", "cut.adv"}, 2, "cut.adv: the file ends within its header"},
        {{"verify", "old.adv"}, 2, "old.adv: ADV format version 1 is not supported"},
        {{"info", "good.adv", "--json"}, 0, "{\n"},
        {{"info", "other.adv"}, 2, "obri-adv: other.adv"},
        {{"info", "--yaml", "good.adv"}, 2, "obri-adv: info has no option \"--yaml\""},
        {{"frame", "good.adv", "5", "x.fits"}, 1, "obri-adv: good.adv: there is no frame 5"},
        {{"frame", "good.adv", "-1", "x.fits"}, 2, "obri-adv: \"-1\" is no frame number"},
        {{"lightcurve", "good.adv", "--at", "3,nan"}, 2, "obri-adv: \"--at\" wants two numbers"},
        {{"lightcurve", "good.adv", "--at=3,3", "--radius=1000000"}, 2, "obri-adv: the aperture and the ring"},
        {{"lightcurve", "good.adv", "--at=-9999,3"}, 1, "obri-adv: good.adv: frame 0: the aperture"},
        {{"compress", "bad.adv", "y.adv"}, 1, "obri-adv: bad.adv: the recording is not whole"},
        {{"compress", "eight.adv", "y.adv"}, 1, "obri-adv: eight.adv: only 16-bit images"},
        {{"compress", "good.adv", "bad.adv"}, 1, "obri-adv: good.adv: \"bad.adv\" exists already"},
        {{"decompress", "good.adv", "y.adv"}, 1, "obri-adv: good.adv: the recording is not compressed"},
        {{"decompress", "damaged.adv", "y.adv"}, 1, "obri-adv: damaged.adv: frame 0 cannot be decoded"},
        {{"polish", "good.adv"}, 2, "obri-adv: there is no command \"polish\""},
    };
    for (const auto& [words, status, said] : cases) {
        std::ostringstream out, err;
        EXPECT_EQ(runTool(words, out, err), status) << out.str() << err.str();
        EXPECT_THAT((said.find("obri-adv: ") == 0 ? err : out).str(), StartsWith(said));
        EXPECT_EQ(err.str().find('\n') + 1, err.str().size()) << "one line or none: " << err.str();
    }
    EXPECT_FALSE(std::filesystem::exists("y.adv") || std::filesystem::exists("y.adv.part"));
}

TEST(AdvInfo, TellsWhatTheRecordingHolds)
{
    AdvBuilder builder;
    builder.add(30);
    builder.frames.erase(builder.frames.begin() + 20);
    for (size_t i = 0; i < 5; ++i)
        builder.frames[i].fix = 1;
    builder.frames[7].satellites = 4;
    builder.frames[8].temperature = -999;
    builder.frames[28].startNs = builder.frames[28].endNs = sNoClockNs;
    builder.metadata.push_back({"COMMENT", "\x1b[2J\"\\ \xC3\xBC \xC3( \xED\xA0\x80"});
    AdvFile file;
    ASSERT_EQ(openBytes(file, builder.build()), "");
    for (const char* part : {"8 x 6, 16 bits", "frames        29\n", "2020-01-01T00:00:00.000 UTC",
                             "38.000 to 38.000 ms", "no valid time in 1 frames", "gaps          2, frames lost 1",
                             "no fix (state 0x01), 9 to 9 satellites, frames 0 to 4",
                             "fix (state 0x03), 4 to 9 satellites, frames 5 to 28", "raw code 25.00000", "in 28 frames",
                             "OBJNAME = Star O'Hara", "COMMENT = ?[2J\"\\ \xC3\xBC"})
        EXPECT_THAT(infoText(file, "night.adv"), HasSubstr(part));
    for (const char* part :
         {"\"frames\": 29", "\"framesLost\": 1", "\"afterFrame\": 19", "\"fix\": false", "\"framesPerSecond\": 24.1071",
          "\"\\u001b[2J\\\"\\\\ \xC3\xBC \\ufffd( \\ufffd\\ufffd\\ufffd\""})
        EXPECT_THAT(infoJson(file, "night.adv"), HasSubstr(part));
}

} // namespace
