#include "Settings.h"

#include <algorithm>
#include <cmath>

namespace obrisim {

static int highFirst(std::span<const uint8_t, sCommandBytes> command)
{
    return command[1] * 256 + command[2];
}

bool applyCommand(SSettings& settings, std::span<const uint8_t, sCommandBytes> command)
{
    const bool on = command[1] != 0;
    switch (command[0]) {
    case 0x00:
        settings.darkRows = on;
        return true;
    case 0x01:
        settings.binaryOnly = on;
        return true;
    case 'h':
        settings.blackLevel = highFirst(command);
        return true;
    case 'i':
        settings.exposureMs = std::max(1, highFirst(command));
        return true;
    case 'j':
        settings.inverted = on;
        return true;
    case 'm':
        settings.flipX = command[1] & 1;
        settings.flipY = command[1] & 2;
        return true;
    case 'n':
        settings.gainDb = command[1];
        return true;
    case 'p':
        settings.underControl = on;
        return true;
    case 'q':
        settings.highGain = on;
        return true;
    default:
        return false;
    }
}

double stepsPerElectron(const SSettings& settings)
{
    // Full well of 16 000 electrons at 0 dB; no more than 48 dB are built in.
    const double gain = std::pow(10.0, std::min(settings.gainDb, 48) / 20.0);
    return 0.25 * gain * (settings.highGain ? 2.0 : 1.0);
}

double readNoiseElectrons(const SSettings& settings)
{
    return settings.highGain ? 0.8 : 1.6;
}

} // namespace obrisim
