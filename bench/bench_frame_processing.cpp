#include "StarField.h"
#include "Yardstick.h"

#include "FrameProcessing.h"
#include "Histogram.h"
#include "PixelKernels.h"
#include "PixelReference.h"

#include <memory>
#include <string>

// Each stage of frame processing, on every instruction level that this processor has.

namespace {

using libobribase::FrameProcessing;
using libobribase::SPixelKernels;

struct SSize {
    const char* name;
    int width, height, repeats, turns;
    size_t area() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
};
constexpr SSize sSizes[] = {{"1624x1240", 1624, 1240, 1, 41}, {"176x128", 176, 128, 20, 101}};

/// The buffers of one frame, and the reference's frame, which takes its turn on buffers of its own.
struct Bench {
    Bench(EScene scene, const SSize& s, int isCompressed = 0)
        : size(s), original(starfield::pixels(scene, s.width, s.height)), frame(original), plainFrame(original),
          dark(s.area()), flat(s.area()), rgb(s.area()),
          processing(s.width, s.height, isCompressed, frame.data(), dark.data(), flat.data()),
          reference(s.width, s.height, isCompressed, plainFrame.data(), dark.data(), flat.data())
    {
    }

    /// Pretends a mean, which the smallest frames do not have.
    void setMean(uint32_t mean)
    {
        processing.m_meanValid = reference.m_meanValid = 1;
        processing.m_mean = reference.m_mean = mean;
        reference.m_lowerBound = std::max(static_cast<int>(mean) - 1024, 0);
        reference.m_upperBound = std::min(static_cast<int>(mean) + 1024, 65535);
        processing.m_lowerBound = static_cast<uint16_t>(reference.m_lowerBound);
        processing.m_upperBound = static_cast<uint16_t>(reference.m_upperBound);
    }

    void restore()
    {
        memcpy(frame.data(), original.data(), size.area() * sizeof(uint16_t));
        memcpy(plainFrame.data(), original.data(), size.area() * sizeof(uint16_t));
    }

    const SSize& size;
    std::vector<uint16_t> original, frame, plainFrame, dark, flat;
    std::vector<uint32_t> rgb;
    uint64_t bins[libobribase::sHistogramBins];
    uint16_t profile[libobribase::sProfileEntries];
    FrameProcessing processing;
    PixelReference reference;
};

void timeDecoding(benchmark::State& state, const SSize& size, int isCompressed)
{
    Bench bench(EScene::Stars, size, isCompressed);
    const auto raw = isCompressed ? starfield::packed(bench.original) : starfield::unpacked(bench.original);
    Yardstick yardstick(raw.size() + size.area() * 2, size.repeats);
    yardstick.setPlain([&] { bench.reference.decode(raw.data()); });
    yardstick.run(state, [&] { bench.processing.DecodeFrame(raw.data()); });
}

void timeLineAverages(benchmark::State& state, const SSize& size, EScene scene)
{
    Bench bench(scene, size);
    bench.setMean(scene == EScene::Stars ? 210 << 4 : 32768);
    Yardstick yardstick(size.area() * 2, size.repeats);
    yardstick.setPlain([&] { bench.reference.lineAverages(); });
    yardstick.run(state, [&] { bench.processing.CalculateFrameLineAverages(); });
}

struct SCorrecting {
    int lineNoise, dark, pedestal, flatScale;
};

void timeCorrection(benchmark::State& state, const SSize& size, const SCorrecting& c)
{
    Bench bench(EScene::Stars, size);
    for (size_t i = 0; i < size.area(); ++i) {
        bench.dark[i] = static_cast<uint16_t>(c.dark ? 800 + i * 7 % 300 : 0);
        bench.flat[i] = static_cast<uint16_t>(20000 + i * 13 % 5000);
    }
    for (int row = 0; row < size.height; ++row)
        bench.processing.m_lineAverages[row] = bench.reference.m_lineAverages[row] = row * 7 % 61 - 30;
    const auto pedestal = static_cast<uint16_t>(c.pedestal), flatScale = static_cast<uint16_t>(c.flatScale);
    Yardstick yardstick(size.area() * (flatScale ? 8 : 6), size.repeats);
    yardstick.setPreparation([&] { bench.restore(); });
    yardstick.setPlain([&] { bench.reference.correct(c.lineNoise, 0, pedestal, flatScale); });
    yardstick.run(state, [&] { bench.processing.ApplyNoiseDarkFlatProcessing(c.lineNoise, 0, pedestal, flatScale); });
}

void timePreview(benchmark::State& state, const SSize& size, EScene scene, int showOverflow)
{
    Bench bench(scene, size);
    const auto histogram = std::make_unique<libobribase::Histogram>();
    const uint32_t* curve = histogram->GetTransform();
    Yardstick yardstick(size.area() * 6, size.repeats);
    yardstick.setPlain([&] {
        bench.reference.preview(
            {bench.rgb.data(), bench.bins, curve, bench.profile, 100, 100, 1, 0, 0, 0, 0, showOverflow, nullptr});
    });
    yardstick.run(state, [&] {
        bench.processing.CreatePreview(nullptr, nullptr, bench.rgb.data(), bench.bins, curve, bench.profile, 100, 100,
                                       1, 0, 0, 0, 0, showOverflow);
    });
}

/// The stretch table is rebuilt on the main thread when a handle moves; memcpy fills as large a table.
void timeStretch(benchmark::State& state)
{
    const auto histogram = std::make_unique<libobribase::Histogram>();
    Yardstick yardstick(libobribase::sTransferCurveEntries * sizeof(uint32_t) * 2);
    yardstick.run(state, [&] { histogram->OnReleaseDrag(); });
}

struct SStage {
    const char* name;
    void (*time)(benchmark::State& state, const SSize& size);
};

// The stages in the order in which a frame passes them.
constexpr SStage sStages[] = {
    {"decode packed", [](auto& state, auto& size) { timeDecoding(state, size, 1); }},
    {"decode unpacked", [](auto& state, auto& size) { timeDecoding(state, size, 0); }},
    {"line averages", [](auto& state, auto& size) { timeLineAverages(state, size, EScene::Stars); }},
    {"line averages, noise", [](auto& state, auto& size) { timeLineAverages(state, size, EScene::Noise); }},
    {"apply, zero dark",
     [](auto& state, auto& size) {
         timeCorrection(state, size, {0, 0, 0, 0});
     }},
    {"apply, zero dark, line noise",
     [](auto& state, auto& size) {
         timeCorrection(state, size, {1, 0, 0, 0});
     }},
    {"apply, dark and pedestal",
     [](auto& state, auto& size) {
         timeCorrection(state, size, {0, 1, 500, 0});
     }},
    {"apply, dark and flat",
     [](auto& state, auto& size) {
         timeCorrection(state, size, {0, 1, 500, 22500});
     }},
    {"preview", [](auto& state, auto& size) { timePreview(state, size, EScene::Stars, 0); }},
    {"preview, constant", [](auto& state, auto& size) { timePreview(state, size, EScene::Constant, 0); }},
    {"preview, noise", [](auto& state, auto& size) { timePreview(state, size, EScene::Noise, 0); }},
    {"preview, overflow", [](auto& state, auto& size) { timePreview(state, size, EScene::Stars, 1); }},
    {"preview, overflow, bright", [](auto& state, auto& size) { timePreview(state, size, EScene::BrightStars, 1); }},
};

int registerStages()
{
    for (const SPixelKernels* level : libobribase::pixelLevels())
        for (const SSize& size : sSizes)
            for (const SStage& stage : sStages) {
                const std::string name = std::string(stage.name) + "/" + size.name + "/" + level->name;
                benchmark::RegisterBenchmark(name.c_str(),
                                             [level, &size, &stage](benchmark::State& state) {
                                                 libobribase::choosePixelKernels(*level);
                                                 stage.time(state, size);
                                             })
                    ->UseManualTime()
                    ->Iterations(benchTurns(size.turns));
            }
    benchmark::RegisterBenchmark("stretch rebuild", timeStretch)->UseManualTime()->Iterations(benchTurns(101));
    return 0;
}

[[maybe_unused]] const int sRegistered = registerStages();

} // namespace
