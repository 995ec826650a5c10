#pragma once
#include "Attendance.h"
#include "LineLog.h"
#include "Options.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace obrisim {

/// What became of one exposure.
struct SFrameRecord {
    uint32_t frameId = 0;
    bool sent = false;
    int64_t startNs = 0, endNs = 0;    ///< UTC since 1970
    int width = 0, height = 0;         ///< pixels
    uint64_t hash = 0;                 ///< FNV-1a of the decoded pixels; 0 when lost
    double targetPart = 1.0;           ///< of the target's light
    std::optional<SBacklog> loss = {}; ///< for want of a buffer
};

/// What a test wants to know afterwards: every frame, every command. Any thread.
class Journal {
public:
    /// @param originNs  camera time at its start, to which the options' seconds refer
    Journal(const SOptions& options, int64_t originNs);

    bool wantsHash() const { return m_frames.isOn(); }
    bool wantsPixels() const { return !m_keepFrames.empty(); }

    void frame(const SFrameRecord& record) const;
    /// The stream ended with the frame in a buffer that the program had not taken.
    void untaken(uint32_t frameId) const { m_frames.write("# untaken " + std::to_string(frameId)); }
    void pixels(uint32_t frameId, const std::vector<uint16_t>& pixels) const;
    /// @param outcome  0, or the errno with which the command failed
    void command(int64_t nowNs, std::span<const uint8_t> bytes, int outcome) const;

private:
    void writeHeader(const SOptions& options, int64_t originNs) const;

    LineLog m_frames, m_commands;
    std::string m_keepFrames;
};

} // namespace obrisim
