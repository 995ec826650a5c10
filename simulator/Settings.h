#pragma once
#include <cstdint>
#include <span>

namespace obrisim {

/// What the extension-unit commands have set, as the camera holds it.
struct SSettings {
    int exposureMs = 40;
    int gainDb = 0;
    bool highGain = false;
    int blackLevel = 64; ///< in steps of the 12-bit converter
    bool inverted = false;
    bool flipX = false, flipY = false;
    bool darkRows = false;     ///< the bottom rows show no light
    bool binaryOnly = true;    ///< off: a readable line of text stands above the binary row
    bool underControl = false; ///< the program has taken the camera over

    bool operator==(const SSettings&) const = default;
};

constexpr int sCommandBytes = 5;

/// Carries out one five-byte command: a code, then its arguments; returns false, changing nothing,
/// for a code the camera does not know.
bool applyCommand(SSettings& settings, std::span<const uint8_t, sCommandBytes> command);

/// Steps of the 12-bit converter for one electron at these settings.
double stepsPerElectron(const SSettings& settings);

/// Read noise in electrons; the high-gain mode reads more quietly.
double readNoiseElectrons(const SSettings& settings);

} // namespace obrisim
