#pragma once

#include <array>
#include <cstdint>

// The camera settings behind the window's controls. Each prints one line on standard output, then acts at once.
// A refused command or format ends the process with status 255. Values are not range-checked: they are cut to the
// bytes of their command. Any thread; setResolution takes the frame gate and so waits for a frame in progress.

void setObriMode(int en);
void setResolution(int w, int h); ///< pixels; ends a recording of another size first
void setExposureTime(int ms);
void setGain(int dB);
void setHighGain(int active);
void setBlackLevel(int level);
void setInvertMode(int active);
void setFpnMode(int active);
void setFlipMode(int m); ///< bit 0: X, bit 1: Y
void setShowPcTime(int active);
void setOverlayMode(int m); ///< 0..3; anything else switches both parts off

/// Takes the camera out of the program's control while the process ends: a failure is ignored. Any thread.
void leaveObriMode();

// The commands on the wire: five bytes for control 5 of the extension unit, the code and its argument; unused bytes
// are zero. Of the two forms of 16 bits, both high byte first, one shifts and one divides: they differ below 0.
enum class EArgument : uint8_t { Switch, Low8, Shifted16, Divided16, TwoBits };

struct SCameraCommand {
    uint8_t code;
    EArgument argument;
};

constexpr SCameraCommand sObriModeCommand{'p', EArgument::Switch};
constexpr SCameraCommand sExposureCommand{'i', EArgument::Divided16}; // milliseconds
constexpr SCameraCommand sGainCommand{'n', EArgument::Low8};          // decibels
constexpr SCameraCommand sHighGainCommand{'q', EArgument::Switch};
constexpr SCameraCommand sBlackLevelCommand{'h', EArgument::Shifted16};
constexpr SCameraCommand sInvertCommand{'j', EArgument::Switch};
constexpr SCameraCommand sFlipCommand{'m', EArgument::TwoBits};
constexpr SCameraCommand sFirstOverlayCommand{0x00, EArgument::Switch};
constexpr SCameraCommand sSecondOverlayCommand{0x01, EArgument::Switch};

constexpr std::array<uint8_t, 5> encode(SCameraCommand command, int value)
{
    const auto low = static_cast<uint8_t>(value), high = static_cast<uint8_t>(value >> 8);
    switch (command.argument) {
    case EArgument::Switch:
        return {command.code, value != 0};
    case EArgument::Low8:
        return {command.code, low};
    case EArgument::Shifted16:
        return {command.code, high, low};
    case EArgument::Divided16:
        return {command.code, static_cast<uint8_t>(value / 256), static_cast<uint8_t>(value % 256)};
    case EArgument::TwoBits:
        return {command.code, static_cast<uint8_t>(value & 3)};
    }
    return {};
}
