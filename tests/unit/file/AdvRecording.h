#pragma once

#include "../base/CalendarTime.h"
#include "../tools/AdvBuilder.h"
#include "AdvWriter.h"
#include "RecordingTestKit.h"

#include <gtest/gtest.h>
#include <optional>
#include <sstream>

/// All names of the metadata in their order; a position is left out when it is not known, others are empty.
inline Tags metadata(std::map<std::string, std::string> values = {})
{
    std::istringstream names("RECORDER-SOFTWARE RECORDER-SOFTWARE-VERSION CAMERA-MODEL CAMERA-SERIAL-NO "
                             "CAMERA-VENDOR-NAME CAMERA-SENSOR-INFO CAMERA-FIRMWARE-VERSION CAMERA-DRIVER-NAME "
                             "LATITUDE LONGITUDE ALTITUDE BINNING-X BINNING-Y ACQUISITION-DELAY AUTHOR COMMENT "
                             "INSTRUMENT OBSERVER TELESCOPE RA DEC OBJNAME HEIGHT WIDTH");
    Tags table;
    for (std::string name; names >> name;)
        if ((name != "RA" && name != "DEC") || values.count(name))
            table.push_back({name, values[name]});
    return table;
}

/// What a header tells of zones.
inline Tags zoneTags(const std::vector<libobrifile::ZoneDefinition>& zones)
{
    Tags tags = {{"ROI-COUNT", std::to_string(zones.size())}};
    for (size_t i = 0; i < zones.size(); ++i)
        for (const auto& [name, value] :
             {std::pair{"TOP", zones[i].y}, {"LEFT", zones[i].x}, {"WIDTH", zones[i].w}, {"HEIGHT", zones[i].h}})
            tags.push_back({std::string("ROI-") + name + "-" + std::to_string(i), std::to_string(value)});
    return tags;
}

/// The writer beside a builder that says, byte by byte, what it should write.
class AdvRecording : public testing::Test {
protected:
    AdvRecording()
    {
        expected.metadata = metadata();
        provider.frame["GAIN-DB"] = "12.0";
    }

    void start(std::vector<libobrifile::ZoneDefinition> zones = {}, int compress = 0)
    {
        std::vector<libobrifile::ZoneDefinition*> pointers;
        for (auto& zone : zones)
            pointers.push_back(&zone);
        writer.emplace(&provider);
        writer->CreateAdvFile("a.adv", expected.width, expected.height, expected.bits, pointers, compress);
        writer->StartRecording();
    }
    void record(AdvBuilder::SFrame frame)
    {
        using namespace std::chrono;
        const auto time = [](int64_t ns) { return calendarTime(sys_days(2010y / 1 / 1) + milliseconds(ns / 1000000)); };
        provider.from = time(frame.startNs);
        provider.to = time(frame.endNs);
        provider.frameId = frame.counter;
        constexpr uint64_t sTicks2010 = 633979008000000000;
        writer->RecordFrame(frame.pixels.data(), frame.pixels.size(), sTicks2010 + AdvBuilder::sFirstStart / 100);
    }
    /// Starts and records the builder's frames.
    void recordAll(std::vector<libobrifile::ZoneDefinition> zones = {}, int compress = 0)
    {
        start(zones, compress);
        for (const AdvBuilder::SFrame& frame : expected.frames)
            record(frame);
    }
    void expectFile()
    {
        writer->StopRecording();
        EXPECT_EQ(writer->GetFailureText(), "");
        EXPECT_EQ(readWhole("a.adv"), expected.build());
    }

    const TemporaryFolder folder;
    FakeProvider provider;
    AdvBuilder expected;
    std::optional<libobrifile::AdvWriter> writer;
};
