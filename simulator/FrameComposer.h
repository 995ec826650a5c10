#pragma once
#include "OverlayEncoder.h"
#include "Renderer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace obrisim {

/// What one frame shows and says.
struct SFrameJob {
    const SSensorMode* mode = nullptr;
    double targetPart = 1.0; ///< of the target's light, 0..1
    SOverlay overlay;        ///< with the settings that the pixels follow as well
};

/// Puts a whole frame together: sky, readable text, binary overlay, packed as the camera sends it.
/// One thread at a time.
class FrameComposer {
public:
    FrameComposer(SSky sky, uint64_t seed);

    /// Does now what the first frame of a mode, or after a change of settings, would have to do.
    void prepare(const SSensorMode& mode, const SSettings& settings) { m_renderer.prepare(mode, settings); }

    /// Writes the frame's mode->bytes() bytes.
    void compose(const SFrameJob& job, uint8_t* bytes);

    /// From the next frame on, hash() and pixels() are worked out too.
    void keepHash(bool on) { m_keepHash = on; }
    void keepPixels(bool on) { m_keepPixels = on; }

    /// FNV-1a over the decoded frame, row after row; samples of the decoded frame, in the upper twelve bits.
    uint64_t hash() const { return m_hash; }
    const std::vector<uint16_t>& pixels() const { return m_pixels; }

private:
    void composeRow(const SFrameJob& job, int row);
    void composeBinaryRow(const SOverlay& overlay);
    void follow(int count);

    Renderer m_renderer;
    std::vector<uint16_t> m_row;
    std::string m_text;
    bool m_keepHash = false, m_keepPixels = false;
    uint64_t m_hash = 0;
    std::vector<uint16_t> m_pixels;
};

} // namespace obrisim
