#include "AdvWriter.h"

#include "../base/CalendarTime.h"
#include "RecordingTestKit.h"

#include <chrono>
#include <gtest/gtest.h>
#include <numeric>

using libobrifile::AdvWriter;
using libobrifile::ZoneDefinition;

namespace {
constexpr int sWidth = 8, sHeight = 4;
constexpr uint64_t sStart2020 = 315532800000000000; // ns from 2010-01-01 to 2020-01-01
constexpr uint64_t sTicks2010 = 633979008000000000;
constexpr uint64_t sUnixEpoch = (621355968000000000 - sTicks2010) * 100; // 1970 in ns from 2010, modulo 2^64

std::string float32(float f)
{
    return {reinterpret_cast<const char*>(&f), sizeof f};
}

class AdvFrame : public testing::Test {
protected:
    AdvFrame() { std::iota(pixels.begin(), pixels.end(), static_cast<uint16_t>(0x4100)); }

    void create(std::vector<ZoneDefinition> zones = {}, int compress = 0, uint8_t bits = 16)
    {
        std::vector<ZoneDefinition*> pointers;
        for (ZoneDefinition& zone : zones)
            pointers.push_back(&zone);
        writer.CreateAdvFile(path, sWidth, sHeight, bits, pointers, compress);
        writer.StartRecording();
        headerLength = readFile(path).size();
    }
    void recordFrame(uint64_t length = sWidth * sHeight * 2)
    {
        writer.RecordFrame(reinterpret_cast<uint8_t*>(pixels.data()), length, sTicks2010 + 7);
    }
    std::string pixelBytes() { return {reinterpret_cast<char*>(pixels.data()), pixels.size() * 2}; }
    std::string finish()
    {
        writer.StopRecording();
        EXPECT_EQ(writer.GetFailureText(), "");
        return readFile(path).substr(headerLength);
    }
    // The record of a frame whose provider knows nothing but times.
    Bytes plainRecord(int layout, uint32_t imageLength, const std::string& image, uint64_t from = sStart2020)
    {
        Bytes record;
        record.raw("\xFF\x22\x01\xEE")
            .u8(0)
            .u64(from)
            .u64(from + 40000000)
            .u32(imageLength)
            .u8(layout)
            .u8(0)
            .raw(image);
        record.u32(69).u64(from + 20000000).u32(40000000).u8(12);
        record.u8(0).text("").u8(1).u64(700).u8(2).u32(0).u8(3).u8(0).u8(4).u8(0);
        record.u8(5).raw(float32(-999.0F)).u8(6).u32(0);
        for (int tag = 7; tag < 12; ++tag)
            record.u8(tag).raw(float32(0.0F));
        return record;
    }

    TemporaryDirectory directory;
    FakeProvider provider;
    std::string path = directory / "recording.adv";
    AdvWriter writer{&provider};
    std::vector<uint16_t> pixels = std::vector<uint16_t>(sWidth * sHeight);
    size_t headerLength = 0;
};
} // namespace

TEST_F(AdvFrame, FullFramesIndexAndCounts)
{
    create();
    recordFrame();
    provider.from.minute = provider.to.minute = 10; // times of the index wrap after 429 s
    recordFrame();
    const Bytes first = plainRecord(1, 66, pixelBytes());
    const Bytes second = plainRecord(1, 66, pixelBytes(), sStart2020 + 600000000000);
    const size_t secondAt = headerLength + first.size(), indexAt = secondAt + second.size();
    Bytes trailer;
    trailer.u8(2).u32(9).u32(13 + 2 * 20).u32(2);
    trailer.u64(0).u64(headerLength).u32(static_cast<uint32_t>(first.size() - 4));
    trailer.u64(6000000000 - 4294967296).u64(secondAt).u32(static_cast<uint32_t>(second.size() - 4));
    trailer.u32(0).u32(0);
    EXPECT_EQ(finish(), Bytes().raw(first).raw(second).raw(trailer));

    const std::string file = readFile(path);
    EXPECT_EQ(file.substr(9, 8), Bytes().u64(indexAt));
    EXPECT_EQ(file.substr(25, 8), Bytes().u64(file.size() - 4));
    EXPECT_EQ(file.substr(34 + 6, 4), Bytes().u32(2));  // frames of MAIN
    EXPECT_EQ(file.substr(64 + 13, 4), Bytes().u32(0)); // frames of CALIBRATION
}

TEST_F(AdvFrame, StatusEntriesCarryTheProvidersValues)
{
    provider.frame["GAIN-DB"] = "12";
    provider.frameId = 0x01020304;
    provider.satellites = 9;
    provider.fixState = 0xE3; // all bits, not just the two that tell a fix
    provider.dopTime = 0xFFFFFFFF;
    for (uint16_t i = 0; i < 5; ++i)
        provider.dop[i] = static_cast<uint16_t>(123 + i);
    const std::pair<uint16_t, float> temperatures[] = {
        {0x1A00, -999.0F}, {0x1A03, 26.0078125F}, {0xFFEB, 255.9140625F}, {0x0001, 0.0F}};
    create();
    for (const auto& [code, value] : temperatures) {
        provider.temperature = code;
        recordFrame();
    }
    const std::string records = finish();
    size_t at = 0;
    for (const auto& [code, value] : temperatures) {
        Bytes status;
        status.u32(69 + 2).u64(sStart2020 + 20000000).u32(40000000).u8(12);
        status.u8(0).text("12").u8(1).u64(700).u8(2).u32(0x01020304).u8(3).u8(9).u8(4).u8(0xE3);
        status.u8(5).raw(float32(value)).u8(6).u32(0xFFFFFFFF);
        const float dops[] = {1.23F, 1.24F, 1.25F, 1.26F, 1.27F};
        for (int i = 0; i < 5; ++i)
            status.u8(7 + i).raw(float32(dops[i]));
        EXPECT_EQ(records.substr(at + 27 + 64, status.size()), status);
        at += 27 + 64 + status.size();
    }
}

TEST_F(AdvFrame, GainTextsBeyondTheLimitKeepTheLengthTrue)
{
    provider.frame["GAIN-DB"] = std::string(40000, 'g');
    create();
    recordFrame();
    const std::string records = finish();
    EXPECT_EQ(records.substr(27 + 64, 4), Bytes().u32(69 + 32767));
    EXPECT_EQ(records.substr(27 + 64 + 4 + 69 + 32767, 1), "\x02"); // the index follows
}

// Exposures across midnights, leap days and the ends of the years that times are converted in.
TEST_F(AdvFrame, TimesAreTheCalendarsAcrossEveryMidnightOrTheUnixEpoch)
{
    using namespace std::chrono;
    const sys_days epoch = 2010y / January / 1;
    create();
    std::vector<uint64_t> expected;
    for (const sys_days midnight :
         {sys_days(2010y / January / 2), sys_days(2012y / February / 29), sys_days(2012y / March / 1),
          sys_days(2023y / March / 1), sys_days(2058y / January / 1), sys_days(2058y / December / 31)}) {
        const sys_time<milliseconds> from = midnight - 13ms, to = midnight + 27ms;
        provider.from = calendarTime(from);
        provider.to = calendarTime(to);
        recordFrame();
        expected.push_back(static_cast<uint64_t>(nanoseconds(from - epoch).count()));
        expected.push_back(static_cast<uint64_t>(nanoseconds(to - epoch).count()));
    }
    provider.from = {2058, 12, 31, 23, 59, 59, 987}; // the exposure ends in a year beyond the tables
    provider.to = {2059, 1, 1, 0, 0, 0, 27};
    recordFrame();
    expected.push_back(static_cast<uint64_t>(nanoseconds(sys_days(2059y / January / 1) - 13ms - epoch).count()));
    expected.push_back(sUnixEpoch + 27000000);

    provider.from = {2009, 12, 31, 23, 59, 59, 3};
    provider.to = {2020, 0, 1, 0, 0, 0, 4}; // a month that no table knows
    recordFrame();
    expected.push_back(sUnixEpoch + 3000000);
    expected.push_back(sUnixEpoch + 4000000);

    const std::string records = finish();
    const size_t recordLength = plainRecord(1, 66, pixelBytes()).size();
    for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(records.substr(i / 2 * recordLength + 5 + i % 2 * 8, 8), Bytes().u64(expected[i])) << i;
}

TEST_F(AdvFrame, ZonesFollowAWholeFirstFrame)
{
    create({{6, 1, 2, 1}, {0, 0, 1, 2}});
    recordFrame();
    recordFrame();
    const auto pick = [&](int x, int y, int w) { return pixelBytes().substr((y * sWidth + x) * 2, w * 2); };
    const std::string zones = pick(6, 1, 2) + pick(0, 0, 1) + pick(0, 1, 1) + pick(0, 3, 8);
    const Bytes expected = Bytes().raw(plainRecord(1, 66, pixelBytes())).raw(plainRecord(2, 24 + 2, zones));
    EXPECT_EQ(finish().substr(0, expected.size()), expected);
}

TEST_F(AdvFrame, TwelveBitZonesTellMoreBytesThanTheyHave)
{
    create({{0, 0, 4, 2}}, 0, 12);
    recordFrame();
    recordFrame();
    const std::string frame = pixelBytes();
    const std::string zones = frame.substr(0, 4) + frame.substr(sWidth, 4) + frame.substr(3 * sWidth, sWidth);
    const Bytes expected = plainRecord(2, 12 * 8 / 8 + 12 * 8 / 8 + 2, zones);
    EXPECT_EQ(finish().substr(plainRecord(1, 66, frame).size(), expected.size()), expected);
}

TEST_F(AdvFrame, FrameTooShortForItsImageEndsTheRecording)
{
    create({}, 1);
    recordFrame();
    recordFrame(62);
    EXPECT_FALSE(writer.IsRecording());
    EXPECT_EQ(writer.GetFrameNr(), 1U);
    EXPECT_NE(writer.GetFailureText().find("62 bytes, not 64"), std::string::npos);
    EXPECT_EQ(readFile(path).substr(40, 4), Bytes().u32(1));
}
