#pragma once

#include "DateTime.h"

#include <cstdint>

namespace libobribase {

class BinaryOverlay;

/// The camera's settings and GPS state as the last frame (or a raw status block) reported them.
/// Written by the streaming thread only; other threads read copies made there.
class CameraStatus {
public:
    CameraStatus() = default;
    virtual ~CameraStatus() = default;
    CameraStatus(const CameraStatus&) = default;
    CameraStatus& operator=(const CameraStatus&) = default;

    int32_t m_gain = 0;
    int32_t m_highGain = 0;
    int32_t m_modeSelect = 0; ///< overlay mode 0..3; the camera sends 2, 3, 1, 0 as 0, 1, 3, 2
    int32_t m_flagA = 0;      ///< 1PPS overlay
    int32_t m_flagB = 0;
    int32_t m_highResolution = 0; ///< time stamps of 100 microseconds
    int32_t m_flagC = 0;
    int32_t m_flagD = 0;
    int32_t m_modeCodeIndex = 0; ///< 0..4
    int32_t m_flagE = 0;
    int32_t m_twoBitValue = 0;
    uint16_t m_value14a = 0;
    uint16_t m_value14b = 0;
    int32_t m_flagF = 0;
    int32_t m_usbMode = 0;
    uint16_t m_register16a = 0;
    uint16_t m_register16b = 0;
    uint16_t m_unusedA = 0; ///< four registers that no update writes
    uint16_t m_unusedB = 0;
    uint16_t m_unusedC = 0;
    uint16_t m_unusedD = 0;
    uint16_t m_exposure100us = 0; ///< exposure time in 0.1 ms
    DateTime m_systemTime;        ///< exposure start of the frame
    int32_t m_latitudeE7 = 0;     ///< 1e-7 degree
    int32_t m_longitudeE7 = 0;
    int32_t m_altitudeMm = 0;
    uint16_t m_accuracyM = 0;
    uint8_t m_fixState = 0;
    uint8_t m_nofSats = 0;
    int32_t m_timeFlag = 0;
    int32_t m_binningX = 0;
    int32_t m_binningY = 0;
    int32_t m_temperature = 0; ///< whole degrees Celsius, the last reading
    int32_t m_temperatureValid = 0;
    uint32_t m_dopTime = 0;
    uint16_t m_dop[5] = {};    ///< G, P, T, V, H dilution of precision, 0.01 units
    int32_t m_updateCount = 0; ///< updates from overlays

    /// Takes over a raw status block of at least 32 bytes; GPS fields, high gain and temperature stay.
    virtual void UpdateFromBytes(unsigned char* bytes);
    /// Takes over what the frame's overlay says.
    virtual void UpdateFromBinaryOverlay(BinaryOverlay* overlay);
    virtual void UpdateSystimeFrom(DateTime* time);

    /// Two bytes, most significant first.
    static uint16_t GetUint16(unsigned char* p);
};

} // namespace libobribase
