#include "AdvRewrite.h"

#include "AdvBytes.h"
#include "AdvCopy.h"
#include "Progress.h"

#include "lag1_compressor.h"

#include <algorithm>

namespace obriadv {

namespace {

constexpr uint64_t sImageLengthAt = 21; // in a frame record, from its first byte

/// Everything in a record but its pixels and their length.
bool isSameRecord(const AdvFile& a, const SAdvFrame& of, const AdvFile& b, const SAdvFrame& with)
{
    const uint64_t statusAt = of.pixelOffset + of.pixelBytes, otherStatusAt = with.pixelOffset + with.pixelBytes;
    const uint64_t length = of.end() - statusAt;
    if (of.layoutId != with.layoutId || of.layoutByte != with.layoutByte || with.end() - otherStatusAt != length)
        return false;
    std::vector<uint8_t> head(sImageLengthAt), otherHead(sImageLengthAt);
    std::vector<uint8_t> status(static_cast<size_t>(length)), otherStatus(static_cast<size_t>(length));
    return a.source().read(of.offset, head.data(), head.size()) &&
           b.source().read(with.offset, otherHead.data(), otherHead.size()) && head == otherHead &&
           a.source().read(statusAt, status.data(), status.size()) &&
           b.source().read(otherStatusAt, otherStatus.data(), otherStatus.size()) && status == otherStatus;
}

bool isSameMetadata(const std::vector<SAdvTag>& a, const std::vector<SAdvTag>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const SAdvTag& x, const SAdvTag& y) { return x.name == y.name && x.value == y.value; });
}

/// Opens what was written and compares it with its input; empty when nothing differs.
std::string compareWithInput(AdvFile& input, const std::string& writtenPath)
{
    AdvFile written;
    if (std::string error = written.open(writtenPath); !error.empty())
        return "what was written cannot be read: " + error;
    const size_t count = input.frames().size();
    const bool isWhole = written.damage().empty() && written.frames().size() == count &&
                         written.index().mainCount + written.index().calibrationCount == count &&
                         isSameMetadata(input.header().systemMetadata, written.header().systemMetadata) &&
                         isSameMetadata(input.userMetadata(), written.userMetadata());
    if (!isWhole)
        return "what was written is not the same recording";
    Progress progress("comparing", count);
    std::vector<uint16_t> before, after;
    for (size_t i = 0; i < count; ++i) {
        std::string error;
        if (!input.readPixels(i, before, error) || !written.readPixels(i, after, error))
            return error;
        if (before != after || !isSameRecord(input, input.frames()[i], written, written.frames()[i]))
            return "frame " + std::to_string(i) + " was not written as it was";
        progress.show(i);
    }
    return {};
}

/// Writes a recording again with the full frames in the other form.
class Converter {
public:
    Converter(AdvFile& input, bool isCompressing)
        : m_input(input), m_isCompressing(isCompressing), m_header(input.header())
    {
    }

    /// Empty when the recording can be converted.
    std::string prepare();
    std::string writeFrames(NewFile& out);

    SAdvHeader& header() { return m_header; }
    const std::vector<SAdvFrame>& frames() const { return m_frames; }

private:
    bool isConverted(const SAdvFrame& frame) const;
    std::string writeRecord(NewFile& out, size_t n);
    size_t encode();

    AdvFile& m_input;
    bool m_isCompressing;
    SAdvHeader m_header;             // as it will be written
    std::vector<SAdvFrame> m_frames; // likewise
    std::unique_ptr<libobrifile::Compressor> m_compressor;
    std::vector<uint16_t> m_pixels;
    std::vector<uint8_t> m_block; // scratch of the longest form
};

std::string Converter::prepare()
{
    if (!m_input.damage().empty())
        return "the recording is not whole (" + m_input.damage().front().text + "); repair it first";
    const char* const wanted = m_isCompressing ? "LAGARITH16" : "UNCOMPRESSED";
    bool hasWork = false;
    for (SAdvLayout& layout : m_header.image.layouts) {
        if (!layout.zones.empty() || layout.isCompressed == m_isCompressing)
            continue; // regions of interest are never compressed
        if (!layout.isUsable || layout.bitsPerPixel != 16)
            return "only 16-bit images can be converted";
        for (SAdvTag& tag : layout.tags)
            if (tag.name == "SECTION-DATA-COMPRESSION")
                tag.value = wanted;
        hasWork = true;
    }
    if (!hasWork)
        return m_isCompressing ? "the recording is compressed already" : "the recording is not compressed";
    const uint64_t samples = uint64_t{m_input.width()} * m_input.height();
    if (samples == 0 || samples > libobrifile::Compressor::MaxSamples)
        return "the images are too large to be converted"; // the compressor would end the process
    const auto width = static_cast<int>(m_input.width()), height = static_cast<int>(m_input.height());
    m_block.resize(libobrifile::Compressor::ScratchBytes(width, height)); // more than the raw image takes
    m_compressor = std::make_unique<libobrifile::Compressor>(width, height);
    return {};
}

bool Converter::isConverted(const SAdvFrame& frame) const
{
    const SAdvLayout* layout = m_input.layoutOf(frame);
    return layout && layout->zones.empty() && layout->isCompressed != m_isCompressing;
}

/// Brings m_pixels into m_block in the form wanted and tells its length.
size_t Converter::encode()
{
    if (m_isCompressing)
        return static_cast<size_t>(m_compressor->CompressData(m_pixels.data(), m_block.data()));
    for (size_t i = 0; i < m_pixels.size(); ++i) {
        m_block[2 * i] = static_cast<uint8_t>(m_pixels[i]);
        m_block[2 * i + 1] = static_cast<uint8_t>(m_pixels[i] >> 8);
    }
    return m_pixels.size() * 2;
}

std::string Converter::writeRecord(NewFile& out, size_t n)
{
    SAdvFrame frame = m_input.frames()[n];
    const uint64_t from = frame.offset, statusAt = frame.pixelOffset + frame.pixelBytes, end = frame.end();
    frame.offset = out.position();
    if (!isConverted(frame)) {
        m_frames.push_back(frame);
        return copyBytes(m_input.source(), from, end - from, out) ? "" : "the recording cannot be read";
    }
    std::string error;
    if (!m_input.readPixels(n, m_pixels, error))
        return error;
    const size_t length = encode();
    ByteBuilder image;
    image.u32(static_cast<uint32_t>(length + 2));
    image.u8(frame.layoutId);
    image.u8(frame.layoutByte);
    const bool isHeadCopied = copyBytes(m_input.source(), from, sImageLengthAt, out);
    out.write(image.bytes().data(), image.size());
    out.write(m_block.data(), length);
    if (!isHeadCopied || !copyBytes(m_input.source(), statusAt, end - statusAt, out))
        return "the recording cannot be read";
    frame.length = out.position() - frame.offset - 4;
    m_frames.push_back(frame);
    return {};
}

std::string Converter::writeFrames(NewFile& out)
{
    Progress progress(m_isCompressing ? "compressing" : "decompressing", m_input.frames().size());
    for (size_t n = 0; n < m_input.frames().size(); ++n) {
        if (std::string error = writeRecord(out, n); !error.empty())
            return error;
        progress.show(n);
    }
    return {};
}

std::string sizes(uint64_t before, uint64_t after)
{
    return std::to_string(before) + " bytes before, " + std::to_string(after) + " after";
}

SRewriteResult convert(const std::string& inputPath, const std::string& outputPath, bool isCompressing)
{
    AdvFile input;
    if (std::string error = input.open(inputPath); !error.empty())
        return {error, false, {}};
    Converter converter(input, isCompressing);
    std::string error = converter.prepare();
    const std::unique_ptr<NewFile> out = error.empty() ? NewFile::create(outputPath, error) : nullptr;
    if (!out)
        return {error, true, {}};
    error = writeStart(*out, converter.header());
    if (error.empty())
        error = converter.writeFrames(*out);
    if (error.empty())
        writeEnd(*out, converter.header(), converter.frames(), input.userMetadata());
    const uint64_t size = out->position();
    if (error.empty() && out->flush(error))
        error = compareWithInput(input, out->temporaryPath());
    if (!error.empty() || !out->commit(error, true))
        return {error, true, {}};
    return {{},
            true,
            std::to_string(input.frames().size()) + " frames, every one compared; " +
                sizes(input.source().size(), size)};
}

} // namespace

SRewriteResult compressRecording(const std::string& input, const std::string& output)
{
    return convert(input, output, true);
}

SRewriteResult decompressRecording(const std::string& input, const std::string& output)
{
    return convert(input, output, false);
}

} // namespace obriadv
