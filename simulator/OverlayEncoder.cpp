#include "OverlayEncoder.h"

#include "Random.h"

#include <algorithm>
#include <ctime>

namespace obrisim {

// Word offsets in the overlay; each word carries one byte.
enum : int {
    sPreambleAt = 2,
    sLayoutAt = 4,
    sCameraVersionAt = 6,
    sStartTimeAt = 8,
    sTimeFlagAt = 19,
    sEndTimeAt = 20,
    sFrameIdAt = 36,
    sWidthAt = 40,
    sHeightAt = 42,
    sBinningXAt = 44,
    sBinningYAt = 45,
    sModeCodeAt = 48,
    sModeValueAt = 50,
    sExposureSecondsAt = 52,
    sExposureNsAt = 56,
    sFlagsAt = 60,
    sLatitudeAt = 64,
    sLongitudeAt = 68,
    sAccuracyAt = 72,
    sFixAt = 74,
    sSatellitesAt = 75,
    sAltitudeAt = 76,
    sStatusAt = 80,
    sTemperatureAt = 96,
    sDopTimeAt = 98,
    sDopAt = 102,
    sChecksumBAt = 126,
    sChecksumAAt = 127,
};

using Bytes = std::array<uint8_t, sOverlayWords>;
using Nibbles = std::array<uint8_t, sOverlayWords>;

static void put(Bytes& bytes, int at, uint32_t value, int width)
{
    for (int i = 0; i < width; ++i)
        bytes[at + i] = static_cast<uint8_t>(value >> 8 * (width - 1 - i));
}

static void putTime(Bytes& bytes, int at, int64_t ns, int year)
{
    const time_t second = ns / 1'000'000'000;
    tm utc{};
    gmtime_r(&second, &utc);
    bytes[at] = static_cast<uint8_t>(year ? year - 2000 : utc.tm_year - 100);
    bytes[at + 1] = static_cast<uint8_t>(utc.tm_mon + 1);
    bytes[at + 2] = static_cast<uint8_t>(utc.tm_mday);
    bytes[at + 3] = static_cast<uint8_t>(utc.tm_hour);
    bytes[at + 4] = static_cast<uint8_t>(utc.tm_min);
    bytes[at + 5] = static_cast<uint8_t>(utc.tm_sec);
    put(bytes, at + 6, static_cast<uint32_t>(ns % 1'000'000'000), 4);
}

static void putGps(Bytes& bytes, const SGpsState& gps)
{
    bytes[sTimeFlagAt] = gps.fixState != 0;
    put(bytes, sLatitudeAt, static_cast<uint32_t>(gps.latitudeE7), 4);
    put(bytes, sLongitudeAt, static_cast<uint32_t>(gps.longitudeE7), 4);
    put(bytes, sAccuracyAt, gps.accuracyM, 2);
    bytes[sFixAt] = gps.fixState;
    bytes[sSatellitesAt] = gps.satellites;
    put(bytes, sAltitudeAt, static_cast<uint32_t>(gps.altitudeMm), 4);
    put(bytes, sDopTimeAt, gps.dopTime, 4);
    for (int i = 0; i < 5; ++i) { // the only numbers that go low byte first
        bytes[sDopAt + 2 * i] = static_cast<uint8_t>(gps.dop[i]);
        bytes[sDopAt + 2 * i + 1] = static_cast<uint8_t>(gps.dop[i] >> 8);
    }
}

static void putStatus(Bytes& bytes, const SSettings& settings)
{
    const uint32_t overlaySwitches = uint32_t{settings.darkRows} | uint32_t{settings.binaryOnly} << 1;
    const auto exposure100us = static_cast<uint32_t>(std::min(settings.exposureMs * 10, 65535));
    const auto black = static_cast<uint32_t>(settings.blackLevel);
    put(bytes, sStatusAt, overlaySwitches << 24 | uint32_t{settings.underControl} << 5, 4);
    put(bytes, sStatusAt + 4, static_cast<uint32_t>(settings.gainDb & 0xff) << 24 | exposure100us, 4);
    put(bytes, sStatusAt + 8, 0x0123u << 16 | black, 4);
    put(bytes, sStatusAt + 12, 2u << 30 | 0x0456u << 16 | 0x0100, 4); // two uppermost bits: USB 3
}

// Whole degrees in the upper byte, with bit 0 for "valid"; it wanders a little.
static uint32_t temperatureWord(uint32_t frameId)
{
    return (21 + frameId / 10000 % 4) << 8 | 1;
}

static Bytes payload(const SOverlay& overlay)
{
    const SSettings& settings = overlay.settings;
    Bytes bytes{};
    put(bytes, sPreambleAt, overlay.badPreamble ? 0 : 'T' << 8 | 'S', 2);
    put(bytes, sLayoutAt, 6, 2);
    put(bytes, sCameraVersionAt, 31, 2);
    putTime(bytes, sStartTimeAt, overlay.startNs, overlay.year);
    putTime(bytes, sEndTimeAt, overlay.endNs, overlay.year);
    put(bytes, sFrameIdAt, overlay.frameId, 4);
    put(bytes, sWidthAt, overlay.width, 2);
    put(bytes, sHeightAt, overlay.height, 2);
    bytes[sBinningXAt] = bytes[sBinningYAt] = static_cast<uint8_t>(overlay.binning - 1);
    put(bytes, sModeCodeAt, 2, 2);
    put(bytes, sModeValueAt, 1, 2);
    put(bytes, sExposureSecondsAt, static_cast<uint32_t>(settings.exposureMs / 1000), 4);
    put(bytes, sExposureNsAt, static_cast<uint32_t>(settings.exposureMs % 1000 * 1'000'000), 4);
    put(bytes, sFlagsAt, settings.highGain ? 0x8000 : 0, 2);
    putGps(bytes, overlay.gps);
    putStatus(bytes, settings);
    put(bytes, sTemperatureAt, temperatureWord(overlay.frameId), 2);
    return bytes;
}

struct SSums {
    int first, second; ///< of nibbles, modulo 255
};

static SSums sumsOf(const Nibbles& nibbles)
{
    SSums sums{0, 0};
    for (int i = sPreambleAt; i < sChecksumBAt; ++i) {
        sums.first = (sums.first + nibbles[i]) % 255;
        sums.second = (sums.second + sums.first) % 255;
    }
    return sums;
}

// The checksum is a Fletcher sum, modulo 255, over the low bytes of words 2 to 125. A pixel's low byte
// is 16 times its nibble, so both sums come out as 16 times a nibble only when the sums of the
// nibbles themselves, modulo 255, are below 16. Words 93 to 109 (17 times 15 is 255) bring the first sum
// to 0; word 110, which counts 16-fold in the second sum, then brings that into range with one nibble.
static Nibbles checkedNibbles(uint32_t frameId)
{
    constexpr int absorbFrom = 93, liftAt = 110;
    Nibbles nibbles{};
    for (int i = sPreambleAt; i < sChecksumBAt; ++i)
        if (i < absorbFrom || i > liftAt)
            nibbles[i] = mix(frameId, static_cast<uint64_t>(i)) & 15;
    int missing = (255 - sumsOf(nibbles).first) % 255;
    for (int i = absorbFrom; i < liftAt; ++i) {
        nibbles[i] = static_cast<uint8_t>(std::min(missing, 15));
        missing -= nibbles[i];
    }
    const int second = sumsOf(nibbles).second;
    nibbles[liftAt] = static_cast<uint8_t>(second < 16 ? 0 : (255 - second + 15) / 16);
    const SSums sums = sumsOf(nibbles);
    nibbles[sChecksumAAt] = static_cast<uint8_t>(sums.first);
    nibbles[sChecksumBAt] = static_cast<uint8_t>(sums.second);
    return nibbles;
}

void encodeOverlay(const SOverlay& overlay, std::span<uint16_t, sOverlayWords> samples)
{
    const Bytes bytes = payload(overlay);
    Nibbles nibbles = checkedNibbles(overlay.frameId);
    if (overlay.badChecksum)
        nibbles[sChecksumAAt] ^= 1;
    for (int i = 0; i < sOverlayWords; ++i)
        samples[i] = static_cast<uint16_t>(bytes[i] << 4 | nibbles[i]);
}

} // namespace obrisim
