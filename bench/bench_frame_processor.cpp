// A whole frame through the frame processor, the calls to device and window left out, beside a memcpy of the bytes
// that a frame must move: camera words read, pixels written, dark read, pixels read again, preview written.

#include "StarField.h"
#include "Yardstick.h"

#include "device.h"
#include "FrameDevice.h"
#include "FrameProcessor.h"
#include "OverlayRow.h"

#include <memory>
#include <string>

namespace {

struct SSize {
    const char* name;
    int width, compressedWidth, height, repeats, turns;
};
constexpr SSize sSizes[] = {{"1624x1240", 1624, 1218, 1240, 1, 61}, {"176x128", 176, 176, 128, 20, 301}};

struct SSetting {
    const char* name;
    int noiseCorrection, showPcTime, showOverflow;
};
constexpr SSetting sSettings[] = {{"frame", 0, 0, 0}, {"frame, line noise, time, overflow", 1, 1, 1}};

std::vector<uint8_t> sRaw;
const SFrameDevice sNoDevice{[](int, SVideoMemory*, void** frame) {
                                 *frame = sRaw.data();
                                 return static_cast<int>(sRaw.size());
                             },
                             [](int, SVideoMemory*) {}, [](uint32_t*, int) {}, [] {}};

/// Stars, and an overlay in the last row; its low bytes are zero, so that the checksum comes out.
std::vector<uint8_t> cameraWords(const SSize& size)
{
    auto frame = starfield::pixels(EScene::Stars, size.width, size.height);
    std::copy_n(OverlayRow().row(), 128, frame.end() - size.width);
    return size.compressedWidth < size.width ? starfield::packed(frame) : starfield::unpacked(frame);
}

void timeFrame(benchmark::State& state, const SSize& size, const SSetting& setting)
{
    sRaw = cameraWords(size);
    SVideoDevice cam{};
    cam.w = size.width;
    cam.wCompact = size.compressedWidth;
    cam.h = size.height;
    cam.applyNoiseCorrection = setting.noiseCorrection;
    cam.showPcTime = setting.showPcTime;
    const auto processor = std::make_unique<FrameProcessor>(sNoDevice);
    processor->SetShowPixelOverflow(setting.showOverflow);

    const size_t area = static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
    const size_t correcting = setting.noiseCorrection ? 2 + 2 + 2 : 0; // averages; pixels read and written again
    Yardstick yardstick(sRaw.size() + area * (2 + 2 + 2 + 4 + correcting), size.repeats);
    const double seconds = yardstick.run(state, [&] { processor->ProcessFrame(&cam); });
    state.counters["frames_per_s"] = 1 / seconds;
}

int registerFrames()
{
    for (const SSize& size : sSizes)
        for (const SSetting& setting : sSettings) {
            const std::string name = std::string(setting.name) + "/" + size.name;
            benchmark::RegisterBenchmark(name.c_str(),
                                         [&](benchmark::State& state) { timeFrame(state, size, setting); })
                ->UseManualTime()
                ->Iterations(benchTurns(size.turns));
        }
    return 0;
}

[[maybe_unused]] const int sRegistered = registerFrames();

} // namespace
