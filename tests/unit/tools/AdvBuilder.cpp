#include "AdvBuilder.h"

#include <bit>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

void AdvBuilder::put(uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        m_bytes.push_back(static_cast<uint8_t>(value >> 8 * i));
}

void AdvBuilder::putText(const std::string& value)
{
    put(value.size(), 2);
    m_bytes.insert(m_bytes.end(), value.begin(), value.end());
}

void AdvBuilder::putTags(const std::vector<std::pair<std::string, std::string>>& tags)
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
    put(2, 1);
    put(width, 4);
    put(height, 4);
    put(bits, 1);
    put(zoneTags.empty() ? 1 : 2, 1);
    for (uint8_t byte : {uint8_t{1}, uint8_t{1}, bits, uint8_t{2}}) // id, version, bits, tags
        put(byte, 1);
    putTags({{"DATA-LAYOUT", "FULL-IMAGE-RAW"}, {"SECTION-DATA-COMPRESSION", compression}});
    if (!zoneTags.empty()) {
        for (uint8_t byte : {uint8_t{2}, uint8_t{2}, bits, static_cast<uint8_t>(zoneTags.size() + 2)})
            put(byte, 1);
        putTags({{"DATA-LAYOUT", "FULL-IMAGE-RAW"}, {"SECTION-DATA-COMPRESSION", "UNCOMPRESSED"}});
        putTags(zoneTags);
    }
    put(3, 1);
    putTags({{"IMAGE-BYTE-ORDER", "LITTLE-ENDIAN"},
             {"IMAGE-MAX-PIXEL-VALUE", "65535"},
             {"IMAGE-BAYER-PATTERN", "MONOCHROME"}});
}

void AdvBuilder::putStatusSection()
{
    put(2, 1);
    put(1000000, 8);
    put(12, 1);
    const std::pair<const char*, int> tags[] = {{"Gain", 5},
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
        put(static_cast<uint64_t>(type), 1);
    }
}

void AdvBuilder::putFrame(const SFrame& frame)
{
    const auto start = static_cast<uint64_t>(frame.startNs), end = static_cast<uint64_t>(frame.endNs);
    frameAt.push_back(m_bytes.size());
    put(0xEE0122FF, 4);
    put(frame.stream, 1);
    put(start, 8);
    put(end, 8);
    put(frame.pixels.size() + 2, 4);
    put(frame.layout, 1);
    put(0, 1);
    m_bytes.insert(m_bytes.end(), frame.pixels.begin(), frame.pixels.end());
    put(69 + frame.gain.size(), 4);
    put((start + end) >> 1, 8);
    put(end - start, 4);
    put(12, 1);
    put(0, 1);
    putText(frame.gain);
    put(1, 1);
    put(start, 8);
    put(2, 1);
    put(frame.counter, 4);
    put(3, 1);
    put(frame.satellites, 1);
    put(4, 1);
    put(frame.fix, 1);
    put(5, 1);
    put(std::bit_cast<uint32_t>(frame.temperature), 4);
    put(6, 1);
    put(77, 4);
    for (int i = 0; i < 5; ++i) {
        put(static_cast<uint64_t>(7 + i), 1);
        put(std::bit_cast<uint32_t>(1.5f + static_cast<float>(i)), 4);
    }
}

void AdvBuilder::putEnd(uint64_t mainCountAt, uint64_t calibrationCountAt)
{
    indexAt = m_bytes.size();
    patch(9, indexAt, 8);
    put(2, 1);
    put(9, 4);
    put(9 + 4 + 20 * frames.size(), 4);
    put(frames.size(), 4);
    for (size_t i = 0; i < frames.size(); ++i) {
        const uint64_t next = i + 1 < frames.size() ? frameAt[i + 1] : indexAt;
        put(static_cast<uint32_t>((frames[i].startNs - frames[0].startNs) / 100), 8); // low 32 bits, as written
        put(frameAt[i], 8);
        put(next - frameAt[i] - 4, 4);
    }
    put(0, 4);
    patch(25, m_bytes.size(), 8);
    put(0, 4);
    patch(mainCountAt, frames.size(), 4);
    patch(calibrationCountAt, 0, 4);
}

AdvBuilder& AdvBuilder::add(size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const size_t n = frames.size();
        SFrame frame;
        frame.startNs = sFirstStart + static_cast<int64_t>(n) * sPeriod;
        frame.endNs = frame.startNs + sExposure;
        frame.counter = static_cast<uint32_t>(1000 + n);
        for (size_t byte = 0; byte < size_t{width} * height * bits / 8; ++byte)
            frame.pixels.push_back(static_cast<uint8_t>(7 * n + 3 * byte));
        frames.push_back(frame);
    }
    return *this;
}

std::vector<uint8_t> AdvBuilder::build()
{
    m_bytes.clear();
    frameAt.clear();
    put(0x46545346, 4);
    put(2, 1);
    put(0, 4);
    put(0, 8);
    put(0, 8);
    put(0, 8);
    put(2, 1);
    std::vector<uint64_t> countAt;
    for (const char* name : {"MAIN", "CALIBRATION"}) {
        putText(name);
        countAt.push_back(m_bytes.size());
        put(0, 4);
        put(1000000000, 8);
        put(1000000, 4);
        put(0, 8);
    }
    put(2, 1);
    putText("IMAGE");
    const uint64_t imageAt = m_bytes.size();
    put(0, 8);
    putText("STATUS");
    const uint64_t statusAt = m_bytes.size();
    put(0, 8);
    patch(imageAt, m_bytes.size(), 8);
    putImageSection();
    patch(statusAt, m_bytes.size(), 8);
    putStatusSection();
    patch(17, m_bytes.size(), 8);
    put(metadata.size(), 4);
    putTags(metadata);
    for (const SFrame& frame : frames)
        putFrame(frame);
    if (isFinished)
        putEnd(countAt[0], countAt[1]);
    return m_bytes;
}

std::vector<uint8_t> pixelBytes(const std::vector<uint16_t>& pixels)
{
    std::vector<uint8_t> bytes;
    for (uint16_t pixel : pixels) {
        bytes.push_back(static_cast<uint8_t>(pixel));
        bytes.push_back(static_cast<uint8_t>(pixel >> 8));
    }
    return bytes;
}

std::string openBytes(obriadv::AdvFile& file, const std::vector<uint8_t>& bytes)
{
    return file.open(std::make_unique<obriadv::MemorySource>(bytes));
}

std::vector<uint8_t> readWhole(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void writeWhole(const std::filesystem::path& path, const std::vector<uint8_t>& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

TemporaryFolder::TemporaryFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "obri-adv-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("no temporary folder");
    m_path = pattern;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}
