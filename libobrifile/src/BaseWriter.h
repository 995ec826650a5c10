#pragma once

#include "IFileWriterAttributesProvider.h"
#include "WriteBehindFile.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace libobrifile {

/// The life of a recording, common to all formats, and the little-endian primitives they write with.
///
/// Order of use: construct, SetRecordGpsStatusFilePath if wanted, the format's own create operation,
/// StartRecording, RecordFrame once a frame, StopRecording, destroy. One thread at a time; the file is written by
/// another, so that RecordFrame returns before the disk has the frame. StopRecording waits for the disk.
///
/// A failure (the file cannot be opened, a write falls short) is kept, never printed: HasFailed() and
/// GetFailureText() tell it. The first failed write that is seen stops the recording; what stays in the file is whole.
class BaseWriter {
public:
    /// @param provider borrowed for the life of the writer.
    explicit BaseWriter(IFileWriterAttributesProvider* provider);
    BaseWriter(const BaseWriter&) = delete;
    BaseWriter& operator=(const BaseWriter&) = delete;
    /// Closes files that are still open, without a trailer; StopRecording is what completes a recording.
    virtual ~BaseWriter();

    /// Opens the recording file, replacing what it holds. When that fails, HasFailed() is true afterwards
    /// and StartRecording does nothing.
    /// @param w, h image size in pixels.
    /// @param bbp  bits per pixel of the camera's data: 8, 12 or 16.
    virtual void CreateBaseFile(std::string path, uint32_t w, uint32_t h, uint8_t bbp);
    virtual std::string GetFormatName() = 0;
    virtual bool IsRecording();
    /// Writes the header. IsRecording() is true afterwards, unless the writer has failed. Harmless when recording.
    virtual void StartRecording();
    /// Writes the trailer and closes the files. Harmless when not recording.
    virtual void StopRecording();
    /// Frames recorded since StartRecording. After a failure: those that the file has.
    virtual uint32_t GetFrameNr();
    /// Records one frame. A failed write, of this frame or of an earlier one, stops the recording; frames that are
    /// not whole in the file leave no trace.
    /// @param frameData length bytes of pixels, borrowed for the call.
    /// @param datetime  the frame's time in 100 ns since 0001-01-01.
    virtual void RecordFrame(uint8_t* frameData, uint64_t length, uint64_t datetime);

protected:
    virtual void OnRecordHeader() = 0;
    virtual void OnRecordFrame(uint8_t* frameData, uint64_t length, uint64_t datetime) = 0;
    virtual void OnRecordTrailer() = 0;

    // Every primitive makes exactly one call of WriteBytes, so that overriding it redirects all output.
    virtual void WriteUint8(uint8_t v);
    virtual void WriteUint16(uint16_t v);
    virtual void WriteUint32(uint32_t v);
    virtual void WriteUint64(uint64_t v);
    virtual void WriteBytes(uint8_t* p, uint64_t length);
    virtual void WriteFloat(float f);
    /// Two texts with their lengths: name, then value.
    virtual void WriteTag(std::string name, std::string value);
    /// At most 32767 bytes of s, after their number as 16 bits unless skipLen; a byte 0x7F becomes '?'.
    virtual void WriteUtf8(std::string s, bool skipLen);

public:
    /// A CSV file for GPS status that is opened and closed with the recording; empty: none.
    void SetRecordGpsStatusFilePath(std::string path);
    /// True once the file could not be opened or written; stays true.
    bool HasFailed() const { return !m_failureText.empty(); }
    /// One line without end: what failed, on which file, the system's reason. Empty while all is well.
    const std::string& GetFailureText() const { return m_failureText; }
    /// True once a frame had to wait for the disk, because it was further behind than the queue is long.
    bool HasWaitedForDisk();

protected:
    /// Hands over what is buffered and tells the position; 0 without a file.
    uint64_t GetCurPosition();
    /// Hands over what is buffered and goes to a position counted from the file's start.
    void SetCurPosition(uint64_t p);
    /// Hands over what is buffered, without waiting for the disk. False when the disk has refused something that was
    /// handed over since the last CutBackTo, now or earlier.
    bool FlushFile();
    /// Hands over what is buffered and waits until the file has it. False as FlushFile.
    bool SettleFile();
    /// Position up to which the file has everything. After a failure: where it happened.
    uint64_t WrittenUpTo();
    /// Drops what is buffered and everything in the file from position on; writing goes on there.
    void CutBackTo(uint64_t position);
    /// Keeps the first failure: "Failed to <operation> <path> (<reason>)".
    void Fail(const char* operation, const std::string& path, const std::string& reason);

    /// Bytes that WriteUtf8 writes at most: readers take the length as a signed 16-bit number.
    static constexpr size_t sLongestText = 0x7FFF;

    IFileWriterAttributesProvider* m_attributesProvider;
    std::string m_gpsStatusFilePath;
    FILE* m_gpsStatusFile; // open while recording, else null
    uint32_t m_w;
    uint32_t m_h;
    uint8_t m_nativeBitsPerPixel;
    FILE* m_file; // a stream of m_writeBehind; null before CreateBaseFile and after StopRecording
    bool m_recording;
    uint32_t m_frameNr;
    uint32_t m_lastCamFrameNr;
    std::string m_filePath;

private:
    std::string m_failureText;
    WriteBehindFile m_writeBehind;
};

} // namespace libobrifile
