#include "CameraStatus.h"

#include "BinaryOverlay.h"
#include "Log.h"

#include <algorithm>

namespace libobribase {

namespace {

int sUsbLogged = -1; // so that the first update logs whatever the mode is

void logUsbMode(int mode)
{
    if (mode == sUsbLogged)
        return;
    sUsbLogged = mode;
    logStringInt("I USB", mode);
}

constexpr int32_t bit(uint32_t word, int position)
{
    return static_cast<int32_t>(word >> position & 1);
}

int32_t modeSelectOf(uint32_t raw)
{
    static constexpr int32_t sModes[] = {2, 3, 0, 1};
    return sModes[raw & 3];
}

int32_t modeCodeIndexOf(int32_t code)
{
    switch (code) {
    case 2:
        return 1;
    case 4:
        return 2;
    case 8:
        return 3;
    case 16:
        return 4;
    default:
        return 0;
    }
}

} // namespace

void CameraStatus::UpdateFromBinaryOverlay(BinaryOverlay* o)
{
    const auto& [w0, w1, w2, w3] = o->m_statusWords;
    m_dopTime = o->m_dopTime;
    std::copy(std::begin(o->m_dop), std::end(o->m_dop), m_dop);
    m_value14a = w2 >> 16 & 0x3FFF;
    m_value14b = w3 >> 16 & 0x3FFF;
    m_usbMode = static_cast<int32_t>(w3 >> 30);
    logUsbMode(m_usbMode);
    m_register16a = w2 & 0xFFFF;
    m_register16b = w3 & 0xFFFF;
    m_exposure100us = w1 & 0xFFFF;
    m_gain = static_cast<int32_t>(w1 >> 24);
    m_highGain = o->m_flagBit15;
    m_flagE = bit(w0, 10);
    m_flagC = bit(w0, 9);
    m_flagD = bit(w0, 11);
    m_modeCodeIndex = modeCodeIndexOf(o->m_modeCode);
    m_twoBitValue = static_cast<int32_t>(w0 >> 2 & 3);
    m_flagF = bit(w0, 5);
    m_modeSelect = modeSelectOf(w0 >> 24);
    m_flagA = bit(w0, 28);
    m_flagB = bit(w0, 29);
    m_highResolution = bit(w0, 21);
    m_latitudeE7 = o->m_latitudeE7;
    m_longitudeE7 = o->m_longitudeE7;
    m_altitudeMm = o->m_altitudeMm;
    m_accuracyM = o->m_accuracyM;
    m_fixState = o->m_fixState;
    m_nofSats = o->m_nofSats;
    m_timeFlag = o->m_timeFlag;
    m_binningX = o->m_binningX;
    m_binningY = o->m_binningY;
    m_temperatureValid = o->GetTemperature(&m_temperature);
    m_updateCount = static_cast<int32_t>(static_cast<uint32_t>(m_updateCount) + 1);
}

void CameraStatus::UpdateFromBytes(unsigned char* b)
{
    m_value14a = b[12];
    m_value14b = b[13] & 0x7F;
    m_usbMode = b[14];
    logUsbMode(m_usbMode);
    m_register16a = static_cast<uint16_t>(b[15] | (b[13] << 1 & 0x100)); // nine bits, the top one from byte 13
    m_register16b = GetUint16(b + 30);
    m_exposure100us = GetUint16(b + 7);
    m_gain = b[11];
    m_flagE = bit(b[2], 2);
    m_flagC = bit(b[2], 1);
    m_flagD = bit(b[2], 3);
    m_modeCodeIndex = b[2] >> 4;
    m_twoBitValue = b[9] >> 2 & 3;
    m_flagF = bit(b[9], 5);
    m_modeSelect = modeSelectOf(b[0]);
    m_flagA = bit(b[0], 4);
    m_flagB = bit(b[0], 5);
    m_highResolution = bit(b[1], 5);
}

void CameraStatus::UpdateSystimeFrom(DateTime* time)
{
    m_systemTime = *time;
}

uint16_t CameraStatus::GetUint16(unsigned char* p)
{
    return static_cast<uint16_t>(p[0] * 256 + p[1]);
}

} // namespace libobribase
