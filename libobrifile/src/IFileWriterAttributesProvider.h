#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace libobribase {
struct DateTime;
}

namespace libobrifile {

/// What a recording writer asks the application for, beyond the pixels it is handed.
///
/// Every answer is about the frame that is being recorded: whoever calls a writer's RecordFrame
/// brings these answers up to date first. Writers call on the thread that records.
class IFileWriterAttributesProvider {
public:
    /// Adds the attributes of the whole file: names of observer, telescope, object, camera, software.
    virtual void GetHeaderAttributes(std::map<std::string, std::string>& attribs) = 0;
    /// Adds the attributes of this frame: position, exposure, start time, temperature.
    virtual void GetFrameAttributes(std::map<std::string, std::string>& attribs) = 0;
    /// The camera's own frame counter.
    virtual uint32_t GetCameraFrameId() = 0;
    virtual uint8_t GetGpsNofSatellites() = 0;
    /// The fix state as the camera sends it, all bits.
    virtual uint8_t GetGpsFixState() = 0;
    /// One dilution of precision in hundredths; which: 0 = G, 1 = P, 2 = T, 3 = V, 4 = H.
    virtual uint16_t GetGpsDilusionOfPrecisionGptvh(int which) = 0;
    virtual uint32_t GetGpsDilusionOfPrecisionTime() = 0;
    /// Non-zero when the frame's GPS time stamps are valid.
    virtual int IsTimeValid() = 0;
    /// The temperature code; bit 0 is set when there is a reading.
    virtual uint16_t GetSensorTemperature() = 0;
    /// Start of the exposure, UTC.
    virtual void GetDateTimeFrom(libobribase::DateTime* dt) = 0;
    /// End of the exposure, UTC.
    virtual void GetDateTimeTo(libobribase::DateTime* dt) = 0;

protected:
    // Not virtual, so never called through this interface: no writer owns its provider.
    ~IFileWriterAttributesProvider() = default;
};

} // namespace libobrifile
