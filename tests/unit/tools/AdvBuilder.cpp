#include "AdvBuilder.h"

#include <bit>
#include <fstream>
#include <iterator>

void AdvBuilder::put(std::initializer_list<SField> fields)
{
    for (const SField& field : fields)
        for (int i = 0; i < field.bytes; ++i)
            m_bytes.push_back(static_cast<uint8_t>(field.value >> 8 * i));
}

void AdvBuilder::putText(const std::string& value)
{
    put({{value.size(), 2}});
    m_bytes.insert(m_bytes.end(), value.begin(), value.end());
}

void AdvBuilder::putTags(const Tags& tags)
{
    for (const auto& [name, value] : tags) {
        putText(name);
        putText(value);
    }
}

void AdvBuilder::patch(uint64_t at, uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        m_bytes.at(at + static_cast<uint64_t>(i)) = static_cast<uint8_t>(value >> 8 * i);
}

void AdvBuilder::putImageSection()
{
    put({{2, 1}, {width, 4}, {height, 4}, {bits, 1}, {zoneTags.empty() ? 1u : 2u, 1}});
    put({{1, 1}, {1, 1}, {bits, 1}, {2, 1}}); // id, version, bits, tags
    putTags({{"DATA-LAYOUT", "FULL-IMAGE-RAW"}, {"SECTION-DATA-COMPRESSION", compression}});
    if (!zoneTags.empty()) {
        put({{2, 1}, {2, 1}, {bits, 1}, {zoneTags.size() + 2, 1}});
        putTags({{"DATA-LAYOUT", "FULL-IMAGE-RAW"}, {"SECTION-DATA-COMPRESSION", "UNCOMPRESSED"}});
        putTags(zoneTags);
    }
    put({{1, 1}});
    putTags({{"IMAGE-BYTE-ORDER", "LITTLE-ENDIAN"}});
}

void AdvBuilder::putStatusSection()
{
    put({{2, 1}, {1000000, 8}, {12, 1}});
    const std::pair<const char*, uint8_t> tags[] = {{"Gain", 5},
                                                    {"SystemTime", 3},
                                                    {"VideoCameraFrameId", 2},
                                                    {"TrackedSatellites", 0},
                                                    {"FixStatus", 0},
                                                    {"Temperature", 4},
                                                    {"DOPTime", 2},
                                                    {"GDOP", 4},
                                                    {"PDOP", 4},
                                                    {"TDOP", 4},
                                                    {"VDOP", 4},
                                                    {"HDOP", 4}};
    for (const auto& [name, type] : tags) {
        putText(name);
        put({{type, 1}});
    }
}

void AdvBuilder::putFrame(const SFrame& frame)
{
    const auto start = static_cast<uint64_t>(frame.startNs), end = static_cast<uint64_t>(frame.endNs);
    const std::string gain = "12.0";
    frameAt.push_back(m_bytes.size());
    put({{0xEE0122FF, 4}, {0, 1}, {start, 8}, {end, 8}, {frame.pixels.size() + 2, 4}, {frame.layout, 1}, {0, 1}});
    m_bytes.insert(m_bytes.end(), frame.pixels.begin(), frame.pixels.end());
    put({{69 + gain.size(), 4}, {(start + end) >> 1, 8}, {end - start, 4}, {12, 1}, {0, 1}});
    putText(gain);
    put({{1, 1}, {start, 8}, {2, 1}, {frame.counter, 4}, {3, 1}, {frame.satellites, 1}, {4, 1}, {frame.fix, 1}});
    put({{5, 1}, {std::bit_cast<uint32_t>(frame.temperature), 4}, {6, 1}, {77, 4}});
    for (uint8_t dop = 0; dop < 5; ++dop)
        put({{7u + dop, 1}, {std::bit_cast<uint32_t>(1.5f + dop), 4}});
}

void AdvBuilder::putEnd(uint64_t mainCountAt)
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
    patch(mainCountAt, frames.size(), 4);
}

AdvBuilder& AdvBuilder::add(size_t count)
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

Bytes AdvBuilder::build()
{
    m_bytes.clear();
    frameAt.clear();
    put({{0x46545346, 4}, {2, 1}, {0, 4}, {0, 8}, {0, 8}, {0, 8}, {2, 1}});
    putText("MAIN");
    const uint64_t mainCountAt = m_bytes.size();
    put({{0, 4}, {1000000000, 8}, {1000000, 4}, {0, 8}});
    putText("CALIBRATION");
    put({{0, 4}, {1000000000, 8}, {1000000, 4}, {0, 8}, {2, 1}});
    putText("IMAGE");
    const uint64_t imageAt = m_bytes.size();
    put({{0, 8}});
    putText("STATUS");
    const uint64_t statusAt = m_bytes.size();
    put({{0, 8}});
    patch(imageAt, m_bytes.size(), 8);
    putImageSection();
    patch(statusAt, m_bytes.size(), 8);
    putStatusSection();
    patch(17, m_bytes.size(), 8);
    put({{metadata.size(), 4}});
    putTags(metadata);
    for (const SFrame& frame : frames)
        putFrame(frame);
    if (isFinished)
        putEnd(mainCountAt);
    return m_bytes;
}

Bytes pixelBytes(const std::vector<uint16_t>& pixels)
{
    Bytes bytes;
    for (uint16_t pixel : pixels)
        bytes.insert(bytes.end(), {static_cast<uint8_t>(pixel), static_cast<uint8_t>(pixel >> 8)});
    return bytes;
}

std::string openBytes(obriadv::AdvFile& file, const Bytes& bytes)
{
    return file.open(std::make_unique<obriadv::MemorySource>(bytes));
}

Bytes readWhole(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void writeWhole(const std::string& path, const Bytes& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}
