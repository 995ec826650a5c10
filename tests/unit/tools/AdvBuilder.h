#pragma once

#include "AdvFile.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

/// Builds small recordings byte by byte, from the layout alone: it shares nothing with reader or writer.
class AdvBuilder {
public:
    struct SFrame {
        int64_t startNs = 0;
        int64_t endNs = 0;
        uint32_t counter = 0;
        uint8_t stream = 0;
        uint8_t layout = 1;
        uint8_t satellites = 9;
        uint8_t fix = 3;
        float temperature = 25.0f;
        std::string gain = "12.0";
        std::vector<uint8_t> pixels;
    };

    static constexpr int64_t sFirstStart = 315532800000000000; // 2020-01-01 00:00:00
    static constexpr int64_t sPeriod = 40'000'000;
    static constexpr int64_t sExposure = 38'000'000;

    uint32_t width = 8, height = 6;
    uint8_t bits = 16;
    std::string compression = "UNCOMPRESSED";
    std::vector<std::pair<std::string, std::string>> metadata = {{"RECORDER-SOFTWARE", "Recorder"},
                                                                 {"LATITUDE", "47.1234567"},
                                                                 {"ALTITUDE", "412.5"},
                                                                 {"OBJNAME", "Star O'Hara"}};
    /// Tags of a second layout of id 2, none: only layout 1.
    std::vector<std::pair<std::string, std::string>> zoneTags;
    std::vector<SFrame> frames;
    bool isFinished = true; ///< false: what a crash leaves, without index and counts

    /// Adds frames with the next times and counters and pixels that differ in every frame.
    AdvBuilder& add(size_t count);
    std::vector<uint8_t> build();

    // Where things stand in the last result.
    std::vector<uint64_t> frameAt;
    uint64_t indexAt = 0;

private:
    void put(uint64_t value, int width);
    void putText(const std::string& value);
    void putTags(const std::vector<std::pair<std::string, std::string>>& tags);
    void patch(uint64_t at, uint64_t value, int width);
    void putImageSection();
    void putStatusSection();
    void putFrame(const SFrame& frame);
    void putEnd(uint64_t mainCountAt, uint64_t calibrationCountAt);

    std::vector<uint8_t> m_bytes;
};

/// 16-bit pixels as they lie in an uncompressed block.
std::vector<uint8_t> pixelBytes(const std::vector<uint16_t>& pixels);

/// Opens bytes as a recording; the error of the reader.
std::string openBytes(obriadv::AdvFile& file, const std::vector<uint8_t>& bytes);

std::vector<uint8_t> readWhole(const std::filesystem::path& path);
void writeWhole(const std::filesystem::path& path, const std::vector<uint8_t>& bytes);

/// A folder that is gone with the test.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    std::string path(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};
