#pragma once

#include "DateTime.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace libobribase {

/// The block of binary data that the camera writes into the last row of every frame, unpacked.
///
/// A failed parse clears m_isValid and leaves all decoded fields as the last good frame set them.
/// Used by one thread at a time (the streaming thread); readers elsewhere take a copy made there.
class BinaryOverlay {
public:
    BinaryOverlay() = default;
    virtual ~BinaryOverlay() = default;
    BinaryOverlay(const BinaryOverlay&) = default;
    BinaryOverlay& operator=(const BinaryOverlay&) = default;

    int32_t m_offset = 0;  ///< base of the overlay in pixels from the last row's start: 0, 1 or -2
    int32_t m_isValid = 0; ///< 1 after a successful parse
    int32_t m_layoutVersion = 0;
    int32_t m_cameraVersion = 0;
    DateTime m_fromTime; ///< exposure start
    DateTime m_toTime;   ///< exposure end
    uint32_t m_frameId = 0;
    int32_t m_width = 0;
    int32_t m_height = 0;
    int32_t m_binningX = 0;
    int32_t m_binningY = 0;
    int32_t m_modeCode = 0;
    int32_t m_modeValue = 0;
    uint32_t m_exposureSeconds = 0;
    uint32_t m_exposureNanoseconds = 0;
    int32_t m_flagBit15 = 0;   ///< high-gain mode
    int32_t m_latitudeE7 = 0;  ///< 1e-7 degree, north positive
    int32_t m_longitudeE7 = 0; ///< 1e-7 degree, east positive
    uint16_t m_accuracyM = 0;  ///< GPS accuracy, metres
    uint8_t m_fixState = 0;    ///< GPS fix state; 0 means no fix
    uint8_t m_nofSats = 0;
    int32_t m_altitudeMm = 0;
    bool m_timeFlag = false; ///< the time stamps are GPS times
    uint32_t m_dopTime = 0;
    uint16_t m_dop[5] = {}; ///< G, P, T, V, H dilution of precision, 0.01 units
    uint32_t m_statusWords[4] = {};
    uint16_t m_temperatureRaw = 0;

    /// Parses the overlay of a decoded frame whose memory reaches at least 2 words before row and 129 words from it.
    void ParseBinaryOverlay(const uint16_t* row);

    /// As above, never reading outside the frame.
    ///
    /// @param row          first pixel of the frame's last row
    /// @param wordsBefore  pixels of the frame that lie before row
    /// @param wordsFromRow pixels from row to the frame's end, row's own included
    ///
    /// An overlay that does not fit is invalid. Every failure logs one warning.
    void ParseBinaryOverlay(const uint16_t* row, size_t wordsBefore, size_t wordsFromRow);

    /// One line that sums up the frame, ending in a line feed.
    std::string ToString() const;

    /// Ten words: year - 2000, month, day, hour, minute, second, then nanoseconds in 32 bits.
    static void ParseSystemTime(const uint16_t* words, DateTime* out);
    /// Two words, the payload in each word's high byte, first byte most significant.
    static uint16_t ParseUint16(const uint16_t* words);
    /// Four words, likewise.
    static uint32_t ParseUint32(const uint16_t* words);

    /// "N47.1234567", "W08.0000001": hemisphere letter, whole degrees in two or more digits, seven decimals.
    static std::string FormatGpsPosition(int32_t valueE7, int isLongitude);
    /// "2024-03-05T06:07:08.009"
    static std::string FormatDateTime(const DateTime* time);

    /// Whole degrees Celsius of the sensor. False, with *degrees untouched, when the camera gave no reading.
    bool GetTemperature(int* degrees) const;

private:
    bool findBase(const uint16_t* row, size_t wordsBefore, size_t wordsFromRow);
    void decodeFields(const uint16_t* base);
};

} // namespace libobribase
