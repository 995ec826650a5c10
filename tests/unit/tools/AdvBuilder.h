#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using Bytes = std::vector<uint8_t>;
using Tags = std::vector<std::pair<std::string, std::string>>;

/// Builds small recordings byte by byte, from the layout alone: it shares nothing with reader or writer.
class AdvBuilder {
public:
    struct SFrame {
        int64_t startNs, endNs;
        uint32_t counter;
        Bytes pixels;
        uint8_t layout = 1, satellites = 9, fix = 3;
        float temperature = 25.0f;
        std::string gain = "12.0";
        uint32_t dopTime = 77;
        size_t surplus = 0; ///< bytes that the record claims beyond its pixels
    };

    static constexpr int64_t sFirstStart = 315532800000000000; // 2020-01-01 00:00:00
    static constexpr int64_t sPeriod = 40'000'000;
    static constexpr int64_t sExposure = 38'000'000;

    explicit AdvBuilder(uint32_t columns = 8, uint32_t rows = 6) : width(columns), height(rows) {}

    uint32_t width, height;
    uint8_t bits = 16;
    std::string compression = "UNCOMPRESSED";
    Tags metadata = {{"LATITUDE", "47.1234567"}, {"ALTITUDE", "412.5"}, {"OBJNAME", "Star O'Hara"}};
    Tags zoneTags; ///< of a second layout of id 2; none: only layout 1
    std::vector<SFrame> frames;
    bool isFinished = true; ///< false: what a crash leaves, without index and counts

    // Where things stand in the last result.
    std::vector<uint64_t> frameAt;
    uint64_t indexAt = 0;

    /// Adds frames with the next times and counters and pixels that differ in every frame.
    AdvBuilder& add(size_t count)
    {
        for (const size_t end = frames.size() + count; frames.size() < end;) {
            const size_t n = frames.size();
            Bytes pixels;
            for (size_t byte = 0; byte < size_t{width} * height * bits / 8; ++byte)
                pixels.push_back(static_cast<uint8_t>(7 * n + 3 * byte));
            const int64_t start = sFirstStart + static_cast<int64_t>(n) * sPeriod;
            frames.push_back({start, start + sExposure, static_cast<uint32_t>(1000 + n), pixels});
        }
        return *this;
    }

    Bytes build()
    {
        m_bytes.clear();
        frameAt.clear();
        put({{0x46545346, 4}, {2, 1}, {0, 4}, {0, 8}, {0, 8}, {0, 8}, {2, 1}});
        for (const char* stream : {"MAIN", "CALIBRATION"})
            put({{stream}, {0, 4}, {1000000000, 8}, {1000000, 4}, {0, 8}});
        put({{2, 1}, {"IMAGE"}, {sImageAt, 8}, {"STATUS"}, {0, 8}});
        putImageSection();
        patch(sImageAt - 8, m_bytes.size(), 8);
        putStatusSection();
        patch(17, m_bytes.size(), 8);
        put({{metadata.size(), 4}});
        putTags(metadata);
        for (const SFrame& frame : frames)
            putFrame(frame);
        if (isFinished)
            putEnd();
        return m_bytes;
    }

private:
    /// A number of some bytes, or a text behind its length.
    struct SField {
        SField(uint64_t value, uint64_t size) : bytes(size)
        {
            for (uint64_t i = 0; i < size; ++i)
                bytes[i] = static_cast<uint8_t>(value >> 8 * i);
        }
        SField(const std::string& text) : SField(text.size(), 2)
        {
            bytes.insert(bytes.end(), text.begin(), text.end());
        }
        Bytes bytes;
    };
    static constexpr uint64_t sImageAt = 133;

    void put(std::initializer_list<SField> fields)
    {
        for (const SField& field : fields)
            m_bytes.insert(m_bytes.end(), field.bytes.begin(), field.bytes.end());
    }

    void patch(uint64_t at, uint64_t value, uint64_t size)
    {
        const Bytes bytes = SField(value, size).bytes;
        std::copy(bytes.begin(), bytes.end(), &m_bytes.at(at));
    }

    void putTags(const Tags& tags)
    {
        for (const auto& [name, value] : tags)
            put({{name}, {value}});
    }

    void putImageSection()
    {
        put({{2, 1}, {width, 4}, {height, 4}, {bits, 1}, {zoneTags.empty() ? 1u : 2u, 1}});
        put({{1, 1}, {1, 1}, {bits, 1}, {2, 1}}); // id, version, bits, tags
        putTags({{"DATA-LAYOUT", "FULL-IMAGE-RAW"}, {"SECTION-DATA-COMPRESSION", compression}});
        if (!zoneTags.empty()) {
            put({{2, 1}, {2, 1}, {bits, 1}, {zoneTags.size() + 2, 1}});
            putTags({{"DATA-LAYOUT", "FULL-IMAGE-RAW"}, {"SECTION-DATA-COMPRESSION", "UNCOMPRESSED"}});
            putTags(zoneTags);
        }
        put({{3, 1}});
        putTags({{"IMAGE-BYTE-ORDER", "LITTLE-ENDIAN"},
                 {"IMAGE-MAX-PIXEL-VALUE", "65535"},
                 {"IMAGE-BAYER-PATTERN", "MONOCHROME"}});
    }

    void putStatusSection()
    {
        std::istringstream names("Gain SystemTime VideoCameraFrameId TrackedSatellites FixStatus Temperature DOPTime "
                                 "GDOP PDOP TDOP VDOP HDOP");
        put({{2, 1}, {1000000, 8}, {12, 1}});
        for (const uint64_t type : {5, 3, 2, 0, 0, 4, 2, 4, 4, 4, 4, 4}) {
            std::string name;
            names >> name;
            put({{name}, {type, 1}});
        }
    }

    void putFrame(const SFrame& frame)
    {
        const auto start = static_cast<uint64_t>(frame.startNs), end = static_cast<uint64_t>(frame.endNs);
        const size_t length = frame.pixels.size() + 2 + frame.surplus;
        const auto temperature = std::bit_cast<uint32_t>(frame.temperature);
        frameAt.push_back(m_bytes.size());
        put({{0xEE0122FF, 4}, {0, 1}, {start, 8}, {end, 8}, {length, 4}, {frame.layout, 1}, {0, 1}});
        m_bytes.insert(m_bytes.end(), frame.pixels.begin(), frame.pixels.end());
        put({{69 + frame.gain.size(), 4}, {(start + end) >> 1, 8}, {end - start, 4}, {12, 1}, {0, 1}});
        put({{frame.gain}, {1, 1}, {sFirstStart, 8}, {2, 1}, {frame.counter, 4}, {3, 1}, {frame.satellites, 1}});
        put({{4, 1}, {frame.fix, 1}, {5, 1}, {temperature, 4}, {6, 1}, {frame.dopTime, 4}});
        for (uint8_t dop = 0; dop < 5; ++dop)
            put({{7u + dop, 1}, {std::bit_cast<uint32_t>(1.5f + dop), 4}});
    }

    void putEnd()
    {
        indexAt = m_bytes.size();
        patch(9, indexAt, 8);
        put({{2, 1}, {9, 4}, {9 + 4 + 20 * frames.size(), 4}, {frames.size(), 4}});
        for (size_t i = 0; i < frames.size(); ++i) {
            const uint64_t next = i + 1 < frames.size() ? frameAt[i + 1] : indexAt;
            const auto ticks = static_cast<uint32_t>((frames[i].startNs - frames[0].startNs) / 100); // low 32 bits
            put({{ticks, 8}, {frameAt[i], 8}, {next - frameAt[i] - 4, 4}});
        }
        put({{0, 4}});
        patch(25, m_bytes.size(), 8);
        put({{0, 4}});
        patch(40, frames.size(), 4); // of MAIN
    }

    Bytes m_bytes;
};

inline Bytes readWhole(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeWhole(const std::string& path, const Bytes& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}
