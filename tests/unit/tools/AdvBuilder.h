#pragma once

#include "AdvFile.h"

#include <cstdint>
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
    };

    static constexpr int64_t sFirstStart = 315532800000000000; // 2020-01-01 00:00:00
    static constexpr int64_t sPeriod = 40'000'000;
    static constexpr int64_t sExposure = 38'000'000;

    uint32_t width = 8, height = 6;
    uint8_t bits = 16;
    std::string compression = "UNCOMPRESSED";
    Tags metadata = {{"LATITUDE", "47.1234567"}, {"ALTITUDE", "412.5"}, {"OBJNAME", "Star O'Hara"}};
    Tags zoneTags; ///< of a second layout of id 2; none: only layout 1
    std::vector<SFrame> frames;
    bool isFinished = true; ///< false: what a crash leaves, without index and counts

    /// Adds frames with the next times and counters and pixels that differ in every frame.
    AdvBuilder& add(size_t count);
    Bytes build();

    // Where things stand in the last result.
    std::vector<uint64_t> frameAt;
    uint64_t indexAt = 0;

private:
    struct SField {
        uint64_t value;
        int bytes;
    };
    void put(std::initializer_list<SField> fields);
    void putText(const std::string& value);
    void putTags(const Tags& tags);
    void patch(uint64_t at, uint64_t value, int bytes);
    void putImageSection();
    void putStatusSection();
    void putFrame(const SFrame& frame);
    void putEnd(uint64_t mainCountAt);

    Bytes m_bytes;
};

/// 16-bit pixels as they lie in an uncompressed block.
Bytes pixelBytes(const std::vector<uint16_t>& pixels);

/// Opens bytes as a recording; the error of the reader.
std::string openBytes(obriadv::AdvFile& file, const Bytes& bytes);

Bytes readWhole(const std::string& path);
void writeWhole(const std::string& path, const Bytes& bytes);
