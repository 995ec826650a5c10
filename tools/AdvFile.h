#pragma once

#include "AdvRecords.h"
#include "ByteSource.h"

#include <memory>

namespace obriadv {

class AdvPixelReader;

/// An ADV recording opened for reading.
///
/// The frame records are found by walking them (magic number and lengths); index and counts are only kept as
/// claims. Files of any size are read in place; what is kept in memory grows with the number of frames alone.
/// One thread at a time.
class AdvFile {
public:
    AdvFile();
    ~AdvFile();
    AdvFile(const AdvFile&) = delete;
    AdvFile& operator=(const AdvFile&) = delete;

    /// Reads everything but the pixels. Empty on success, else why this is no readable ADV recording.
    /// An interrupted or damaged recording opens: see regions() and damage().
    std::string open(const std::string& path);
    std::string open(std::unique_ptr<ByteSource> source);

    const SAdvHeader& header() const { return m_header; }
    const std::vector<SAdvFrame>& frames() const { return m_frames; }
    const SAdvIndex& index() const { return m_index; }
    const std::vector<SAdvTag>& userMetadata() const { return m_userMetadata; }

    /// Every byte of the file, in order, by what it is.
    const std::vector<SAdvRegion>& regions() const { return m_regions; }

    /// What the walk could not make sense of, in order of discovery; empty for a whole recording.
    const std::vector<SAdvFinding>& damage() const { return m_damage; }

    uint32_t width() const { return m_header.image.width; }
    uint32_t height() const { return m_header.image.height; }
    const ByteSource& source() const { return *m_source; }

    /// The frame's layout, null when the header defines none of that id.
    const SAdvLayout* layoutOf(const SAdvFrame& frame) const;

    /// Pixels of frame number n (from 0) as width x height values, top row first, whatever their layout; outside
    /// the regions of interest they are 0. False with a reason in error when the block cannot be decoded.
    bool readPixels(size_t n, std::vector<uint16_t>& pixels, std::string& error);

private:
    void readTrailer();
    void accountForBytes(const std::vector<SAdvRegion>& gaps);

    std::unique_ptr<ByteSource> m_source;
    SAdvHeader m_header;
    std::vector<SAdvFrame> m_frames;
    SAdvIndex m_index;
    std::vector<SAdvTag> m_userMetadata;
    std::vector<SAdvRegion> m_regions;
    std::vector<SAdvFinding> m_damage;
    std::unique_ptr<AdvPixelReader> m_pixelReader;
};

} // namespace obriadv
