#include "BinaryOverlay.h"

#include "Log.h"

#include <cstdio>

namespace libobribase {

// The overlay as it lies in the last row: one byte in the high half of each word, integers big-endian over
// consecutive words. Words from the base:
//    2..3    "TS"                      52..55  exposure, whole seconds     80..95   four status words
//    4..5    layout version            56..59  exposure, nanoseconds       96..97   temperature
//    6..7    camera version            60..61  flag word, bit 15           98..101  DOP time
//    8..17   exposure start            64..67  latitude, 1e-7 degree       102..111 five DOPs, little-endian
//    19      time flag, bit 0          68..71  longitude                   126      second checksum, low byte
//    20..29  exposure end              72..73  accuracy, metres            127      first checksum, low byte
//    36..39  frame id                  74      fix state
//    40..43  width, height             75      satellites
//    44, 45  binning less 1            76..79  altitude, millimetres
//    48..51  mode code and value               (layout 4 and later)
namespace {

constexpr uint16_t sPreamble = 0x5453;
constexpr int sPreambleAt = 2;
constexpr int sOverlayWords = 128;
constexpr int sChecksumLastWord = 125, sChecksumBAt = 126, sChecksumAAt = 127;
constexpr int sFirstLayoutWithAltitude = 4, sFirstLayoutWithChecksum = 6;

int32_t parseInt32(const uint16_t* words)
{
    return static_cast<int32_t>(BinaryOverlay::ParseUint32(words));
}

uint8_t parseByte(const uint16_t* word)
{
    return static_cast<uint8_t>(*word >> 8);
}

// Whether words base .. base + count - 1 lie inside the frame.
bool isInside(int base, int count, size_t wordsBefore, size_t wordsFromRow)
{
    if (base < 0 && static_cast<size_t>(-base) > wordsBefore)
        return false;
    const int end = base + count;
    return wordsFromRow >= static_cast<size_t>(end);
}

// A Fletcher sum over the low bytes, as first sum * 256 + second sum.
uint32_t fletcher16(const uint16_t* base)
{
    uint32_t first = 0, second = 0;
    for (int i = sPreambleAt; i <= sChecksumLastWord; ++i) {
        first += base[i] & 0xFFu;
        first -= first > 254 ? 255 : 0;
        second += first;
        second -= second > 254 ? 255 : 0;
    }
    return first * 256 + second;
}

bool isChecksumRight(const uint16_t* base)
{
    const uint32_t sum = fletcher16(base);
    const uint32_t sent = (base[sChecksumAAt] & 0xFFu) * 256 + (base[sChecksumBAt] & 0xFFu);
    if (sum != sent)
        logStringInt("W ParseBinaryOverlay: invalid checksum", static_cast<int>(sum));
    return sum == sent;
}

} // namespace

void BinaryOverlay::ParseBinaryOverlay(const uint16_t* row)
{
    ParseBinaryOverlay(row, 2, sOverlayWords + 1);
}

void BinaryOverlay::ParseBinaryOverlay(const uint16_t* row, size_t wordsBefore, size_t wordsFromRow)
{
    m_isValid = 0;
    if (!findBase(row, wordsBefore, wordsFromRow))
        return;
    const uint16_t* base = row + m_offset;
    m_layoutVersion = ParseUint16(base + 4);
    if (m_layoutVersion >= sFirstLayoutWithChecksum && !isChecksumRight(base))
        return;
    decodeFields(base);
    m_isValid = 1;
}

bool BinaryOverlay::findBase(const uint16_t* row, size_t wordsBefore, size_t wordsFromRow)
{
    int found = m_offset;
    if (isInside(m_offset, sPreambleAt + 3, wordsBefore, wordsFromRow)) {
        const uint16_t* base = row + m_offset;
        const uint16_t at3 = ParseUint16(base + 3), at2 = ParseUint16(base + 2), at0 = ParseUint16(base);
        if (at3 != sPreamble && at2 != sPreamble && at0 != sPreamble) {
            logStringInt("W ParseBinaryOverlay: invalid preamble", static_cast<int>(at3 * 65536u + at2));
            return false;
        }
        // The base is set, not moved: it never returns to 0 by itself, on purpose.
        if (at3 == sPreamble)
            found = 1;
        if (at0 == sPreamble)
            found = -2;
    }
    if (!isInside(found, sOverlayWords, wordsBefore, wordsFromRow)) {
        logStringInt("W ParseBinaryOverlay: the frame is too small for the overlay, words in its last row:",
                     static_cast<int>(wordsFromRow));
        return false;
    }
    m_offset = found;
    return true;
}

void BinaryOverlay::decodeFields(const uint16_t* base)
{
    m_cameraVersion = ParseUint16(base + 6);
    ParseSystemTime(base + 8, &m_fromTime);
    m_timeFlag = (parseByte(base + 19) & 1) != 0;
    ParseSystemTime(base + 20, &m_toTime);
    m_frameId = ParseUint32(base + 36);
    m_width = ParseUint16(base + 40);
    m_height = ParseUint16(base + 42);
    m_binningX = parseByte(base + 44) + 1;
    m_binningY = parseByte(base + 45) + 1;
    m_modeCode = ParseUint16(base + 48);
    m_modeValue = ParseUint16(base + 50);
    m_exposureSeconds = ParseUint32(base + 52);
    m_exposureNanoseconds = ParseUint32(base + 56);
    m_flagBit15 = ParseUint16(base + 60) >> 15;
    m_latitudeE7 = parseInt32(base + 64);
    m_longitudeE7 = parseInt32(base + 68);
    m_accuracyM = ParseUint16(base + 72);
    m_fixState = parseByte(base + 74);
    m_nofSats = parseByte(base + 75);
    m_altitudeMm = m_layoutVersion >= sFirstLayoutWithAltitude ? parseInt32(base + 76) : 0;
    m_temperatureRaw = ParseUint16(base + 96);
    for (int i = 0; i < 4; ++i)
        m_statusWords[i] = ParseUint32(base + 80 + 4 * i);
    m_dopTime = ParseUint32(base + 98);
    for (int i = 0; i < 5; ++i) // the one little-endian field
        m_dop[i] = static_cast<uint16_t>(parseByte(base + 102 + 2 * i) + 256 * parseByte(base + 103 + 2 * i));
}

uint16_t BinaryOverlay::ParseUint16(const uint16_t* words)
{
    return static_cast<uint16_t>((words[0] & 0xFF00) | (words[1] >> 8));
}

uint32_t BinaryOverlay::ParseUint32(const uint16_t* words)
{
    return uint32_t{ParseUint16(words)} << 16 | ParseUint16(words + 2);
}

void BinaryOverlay::ParseSystemTime(const uint16_t* words, DateTime* out)
{
    out->year = parseByte(words) + 2000;
    out->month = parseByte(words + 1);
    out->day = parseByte(words + 2);
    out->hour = parseByte(words + 3);
    out->minute = parseByte(words + 4);
    out->second = parseByte(words + 5);
    out->milliseconds = static_cast<int32_t>(ParseUint32(words + 6) / 1000000);
}

std::string BinaryOverlay::FormatGpsPosition(int32_t valueE7, int isLongitude)
{
    const char hemisphere = valueE7 < 0 ? (isLongitude ? 'W' : 'S') : (isLongitude ? 'E' : 'N');
    const uint32_t a = valueE7 < 0 ? 0u - static_cast<uint32_t>(valueE7) : static_cast<uint32_t>(valueE7);
    char text[32];
    snprintf(text, sizeof text, "%c%02u.%07u", hemisphere, a / 10000000, a % 10000000);
    return text;
}

std::string BinaryOverlay::FormatDateTime(const DateTime* t)
{
    char text[128];
    snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03d", t->year, t->month, t->day, t->hour, t->minute,
             t->second, t->milliseconds);
    return text;
}

bool BinaryOverlay::GetTemperature(int* degrees) const
{
    if ((m_temperatureRaw & 1) == 0)
        return false;
    const int magnitude = (m_temperatureRaw & 0x7FFE) >> 8;
    *degrees = m_temperatureRaw > 32767 ? -magnitude : magnitude;
    return true;
}

std::string BinaryOverlay::ToString() const
{
    const DateTime &from = m_fromTime, &to = m_toTime;
    char text[512];
    snprintf(text, sizeof text,
             "%04d%02d%02d %02d:%02d:%02d.%03d-%02d:%02d:%02d.%03d - %d - %dx%d - %dx%d - %dms - "
             "GPS %s,%s,H%dm (%dm) %08x %d - %08x %08x - V%d\n",
             from.year, from.month, from.day, from.hour, from.minute, from.second, from.milliseconds, to.hour,
             to.minute, to.second, to.milliseconds, static_cast<int>(m_frameId), m_width, m_height, m_binningX,
             m_binningY, static_cast<int>(m_exposureNanoseconds / 1000000 + m_exposureSeconds * 1000),
             FormatGpsPosition(m_latitudeE7, 0).c_str(), FormatGpsPosition(m_longitudeE7, 1).c_str(),
             m_altitudeMm / 1000, m_accuracyM, unsigned{m_fixState}, m_nofSats, m_statusWords[0], m_statusWords[1],
             m_cameraVersion);
    return text;
}

} // namespace libobribase
