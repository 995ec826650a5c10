#include "BaseWriter.h"

#include "RecordingTestKit.h"

#include <gtest/gtest.h>
#include <limits>

using libobrifile::BaseWriter;

namespace {
// Opens the protected primitives, and says in the file when each step of the life cycle ran.
class PlainWriter : public BaseWriter {
public:
    using BaseWriter::BaseWriter;
    using BaseWriter::GetCurPosition;
    using BaseWriter::SetCurPosition;
    using BaseWriter::WriteBytes;
    using BaseWriter::WriteFloat;
    using BaseWriter::WriteTag;
    using BaseWriter::WriteUint16;
    using BaseWriter::WriteUint32;
    using BaseWriter::WriteUint64;
    using BaseWriter::WriteUint8;
    using BaseWriter::WriteUtf8;
    std::string GetFormatName() override { return "plain"; }

protected:
    void OnRecordHeader() override { WriteUint8('h'); }
    void OnRecordFrame(uint8_t* data, uint64_t length, uint64_t) override { WriteBytes(data, length); }
    void OnRecordTrailer() override { WriteUint8('t'); }
};

// Redirects by WriteBytes alone, as a derived writer may.
class MemoryWriter : public PlainWriter {
public:
    using PlainWriter::PlainWriter;
    std::vector<std::string> pieces;
    std::string all() const
    {
        std::string joined;
        for (const auto& piece : pieces)
            joined += piece;
        return joined;
    }

protected:
    void WriteBytes(uint8_t* p, uint64_t length) override { pieces.emplace_back(reinterpret_cast<char*>(p), length); }
};

class BaseWriterLife : public testing::Test {
protected:
    TemporaryDirectory directory;
    FakeProvider provider;
    std::string path = directory / "plain";
    uint8_t frame[4] = {'p', 'i', 'x', '.'};
};
} // namespace

TEST(BaseWriterPrimitives, EachIsOneLittleEndianPiece)
{
    MemoryWriter writer(nullptr);
    writer.WriteUint8(0x12);
    writer.WriteUint16(0x1234);
    writer.WriteUint32(0x12345678);
    writer.WriteUint64(0x0102030405060708);
    writer.WriteFloat(1.0F);
    const std::vector<std::string> expected = {"\x12", "\x34\x12", "\x78\x56\x34\x12",
                                               "\x08\x07\x06\x05\x04\x03\x02\x01", std::string("\0\0\x80\x3F", 4)};
    EXPECT_EQ(writer.pieces, expected);
}

TEST(BaseWriterPrimitives, TextsCarryTheirLengthAndNoDeleteCharacter)
{
    MemoryWriter writer(nullptr);
    writer.WriteUtf8("AB", false);
    writer.WriteUtf8("AB", true);
    writer.WriteUtf8("M\xC3\xBC\x7F", false); // bytes of UTF-8 pass, 0x7F does not
    writer.WriteTag("K", "");
    EXPECT_EQ(writer.all(), Bytes().text("AB").raw("AB").text("M\xC3\xBC?").text("K").text(""));
}

TEST(BaseWriterPrimitives, TextsEndAfter32767Bytes)
{
    MemoryWriter writer(nullptr);
    writer.WriteUtf8(std::string(40000, 'x'), false);
    EXPECT_EQ(writer.all(), Bytes().u16(0x7FFF).raw(std::string(32767, 'x')));
}

TEST_F(BaseWriterLife, HeaderFramesTrailerThenClosed)
{
    PlainWriter writer(&provider);
    writer.CreateBaseFile(path, 2, 1, 16);
    EXPECT_FALSE(writer.IsRecording());
    writer.StartRecording();
    EXPECT_TRUE(writer.IsRecording());
    EXPECT_EQ(writer.GetFrameNr(), 0U);
    writer.RecordFrame(frame, 4, 0);
    writer.RecordFrame(frame, 4, 0);
    EXPECT_EQ(writer.GetFrameNr(), 2U);
    writer.StopRecording();
    writer.StopRecording(); // the second finds nothing to do
    EXPECT_FALSE(writer.IsRecording());
    EXPECT_EQ(readFile(path), "hpix.pix.t");
    EXPECT_EQ(writer.GetFailureText(), "");
}

TEST_F(BaseWriterLife, PatchingLeavesTheRestInPlace)
{
    PlainWriter writer(&provider);
    writer.CreateBaseFile(path, 2, 1, 16);
    writer.WriteUint32(0);
    writer.WriteUint16(0x4241);
    EXPECT_EQ(writer.GetCurPosition(), 6U);
    writer.SetCurPosition(1);
    writer.WriteUint8('x');
    writer.SetCurPosition(6);
    writer.WriteUint8('!');
    EXPECT_EQ(writer.GetCurPosition(), 7U);
    EXPECT_EQ(readFile(path), std::string("\0x\0\0AB!", 7));
}

TEST_F(BaseWriterLife, GpsStatusFileIsOpenWhileRecording)
{
    PlainWriter writer(&provider);
    writer.SetRecordGpsStatusFilePath(directory / "gps.csv");
    writer.CreateBaseFile(path, 2, 1, 16);
    EXPECT_FALSE(std::filesystem::exists(directory / "gps.csv"));
    writer.StartRecording();
    EXPECT_TRUE(std::filesystem::exists(directory / "gps.csv"));
    writer.StopRecording();
    EXPECT_EQ(readFile(path), "ht");
}

TEST_F(BaseWriterLife, RecordingGoesOnWithoutGpsStatusFile)
{
    PlainWriter writer(&provider);
    writer.SetRecordGpsStatusFilePath(directory / "missing/gps.csv");
    writer.CreateBaseFile(path, 2, 1, 16);
    writer.StartRecording();
    EXPECT_TRUE(writer.IsRecording());
    writer.RecordFrame(frame, 4, 0);
    writer.StopRecording();
    EXPECT_EQ(readFile(path), "hpix.t");
    EXPECT_FALSE(writer.HasFailed());
}

TEST_F(BaseWriterLife, FileThatCannotBeOpenedIsNotRecordedInto)
{
    PlainWriter writer(&provider);
    path = directory / "missing/plain";
    writer.CreateBaseFile(path, 2, 1, 16);
    EXPECT_EQ(writer.GetFailureText(), "Failed to open " + path + " (No such file or directory)");
    writer.StartRecording();
    EXPECT_FALSE(writer.IsRecording());
    writer.RecordFrame(frame, 4, 0);
    EXPECT_EQ(writer.GetFrameNr(), 0U);
    writer.StopRecording();
}

TEST_F(BaseWriterLife, FullDeviceIsSeenAtTheStart)
{
    PlainWriter writer(&provider);
    writer.CreateBaseFile("/dev/full", 2, 1, 16);
    writer.StartRecording();
    EXPECT_FALSE(writer.IsRecording());
    EXPECT_EQ(writer.GetFailureText(), "Failed to write /dev/full (No space left on device)");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}
