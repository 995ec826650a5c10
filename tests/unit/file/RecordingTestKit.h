#pragma once

#include "../base/FileSizeLimit.h"
#include "../base/TemporaryFolder.h"
#include "DateTime.h"
#include "IFileWriterAttributesProvider.h"

#include <cstdint>
#include <map>
#include <string>

// What the tests of the recording writers share. Independent of the writers' own primitives.

/// Answers with what the test put in.
class FakeProvider final : public libobrifile::IFileWriterAttributesProvider {
public:
    using Attributes = std::map<std::string, std::string>;
    Attributes header, frame;
    uint32_t frameId = 0;
    uint8_t fixState = 3;
    uint16_t dop[5] = {150, 250, 350, 450, 550}, temperature = 0x1901; // 25 degrees
    uint32_t dopTime = 77;
    libobribase::DateTime from{2020, 1, 1, 0, 0, 0, 0}, to{2020, 1, 1, 0, 0, 0, 40};

    void GetHeaderAttributes(Attributes& attribs) override { attribs = header; }
    void GetFrameAttributes(Attributes& attribs) override
    {
        for (const auto& [key, value] : frame)
            attribs[key] = value;
    }
    uint32_t GetCameraFrameId() override { return frameId; }
    uint8_t GetGpsNofSatellites() override { return 9; }
    uint8_t GetGpsFixState() override { return fixState; }
    uint16_t GetGpsDilusionOfPrecisionGptvh(int which) override { return dop[which]; }
    uint32_t GetGpsDilusionOfPrecisionTime() override { return dopTime; }
    int IsTimeValid() override { return 1; }
    uint16_t GetSensorTemperature() override { return temperature; }
    void GetDateTimeFrom(libobribase::DateTime* dt) override { *dt = from; }
    void GetDateTimeTo(libobribase::DateTime* dt) override { *dt = to; }
};
