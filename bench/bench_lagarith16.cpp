// Lagarith16 beside a plain step-by-step coder, zstd at level 1, lz4 and memcpy. All take turns on the
// same image within every iteration, and each ratio is the median over the iterations. Read the ratios:
// the time of an iteration is that of all together. Frame sizes are the camera's.
#include "lag1_compressor.h"

#include "Lag1Images.h"
#include "Lag1Reference.h"
#include <benchmark/benchmark.h>
#include <ctime>
#include <lz4.h>
#include <map>
#include <memory>
#include <random>
#include <zstd.h>

namespace {

using namespace libobrifile;
using lag1images::Image;

// Of this thread's processor time: others' turns on a busy machine do not count.
double processorSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

template <class Work>
double seconds(Work&& work)
{
    const double start = processorSeconds();
    work();
    benchmark::ClobberMemory();
    return processorSeconds() - start;
}

double median(std::vector<double> numbers)
{
    std::nth_element(numbers.begin(), numbers.begin() + long(numbers.size() / 2), numbers.end());
    return numbers[numbers.size() / 2];
}

// The times of each contestant, and ratios of the times within one iteration.
class Heat {
public:
    template <class Work>
    double run(const char* name, Work&& work)
    {
        m_seconds[name].push_back(seconds(work));
        return m_seconds[name].back();
    }

    double ratio(const char* over, const char* under) const
    {
        std::vector<double> ratios;
        for (size_t i = 0; i < m_seconds.at(over).size(); ++i)
            ratios.push_back(m_seconds.at(over)[i] / m_seconds.at(under)[i]);
        return median(ratios);
    }

    double typical(const char* name) const { return median(m_seconds.at(name)); }

private:
    std::map<std::string, std::vector<double>> m_seconds;
};

constexpr int sFullWidth = 1624, sFullHeight = 1240, sSmallWidth = 176, sSmallHeight = 128;
constexpr size_t sFull = size_t(sFullWidth) * sFullHeight, sSmall = size_t(sSmallWidth) * sSmallHeight;

// The range encoder alone, against the same table. `x_plain`: times as fast as the plain coder.
void rangeEncoder(benchmark::State& state, Image (*make)())
{
    const Image image = make();
    std::vector<uint8_t> code(3 * image.size() + sRangeCodeSlack),
        scratch(lag1reference::Compressor::outputBytes(image.size()));
    lag1reference::Compressor model(image.size());
    model.compress(image.data(), scratch.data());
    std::vector<EncoderPair> table(model.encoderTable(), model.encoderTable() + 65536);
    std::vector<RangeSlice> slices(65536);
    for (unsigned value = 0; value < 65536; ++value)
        slices[sliceIndex(uint16_t(value))] = sliceOf(table[value]);
    Heat heat;
    for (auto _ : state) {
        heat.run("own", [&] {
            benchmark::DoNotOptimize(RangeCompress(image, code.data(), code.size() - sRangeCodeSlack, slices.data()));
        });
        heat.run("unsliced", [&] {
            benchmark::DoNotOptimize(RangeCompress(image.data(), code.data(), int(image.size()), table.data()));
        });
        heat.run("plain", [&] {
            benchmark::DoNotOptimize(
                lag1reference::rangeCompress(image.data(), code.data(), image.size(), table.data()));
        });
        heat.run("memcpy", [&] { memcpy(code.data(), image.data(), 2 * image.size()); });
    }
    state.counters["x_plain"] = heat.ratio("plain", "own");
    state.counters["unsliced_x_plain"] = heat.ratio("plain", "unsliced");
    state.counters["x_memcpy"] = heat.ratio("own", "memcpy");
    state.counters["ns_sample"] = heat.typical("own") * 1e9 / double(image.size());
}

double entropyBytes(const Image& image)
{
    std::map<uint16_t, double> counts;
    for (const uint16_t sample : image)
        ++counts[sample];
    double bits = 0;
    for (const auto& [value, count] : counts)
        bits += count * std::log2(double(image.size()) / count);
    return bits / 8;
}

// A whole frame. `of_...`: the time as a part of what the other takes.
void wholeFrame(benchmark::State& state, Image (*make)())
{
    Image image = make();
    const size_t bytes = 2 * image.size();
    const auto own = std::make_unique<Compressor>(int(image.size()), 1);
    lag1reference::Compressor plain(image.size(), lag1reference::EEquals::AsSorted);
    std::vector<uint8_t> out(std::max({Compressor::ScratchBytes(int(image.size()), 1), ZSTD_compressBound(bytes),
                                       lag1reference::Compressor::outputBytes(std::max<size_t>(image.size(), 65536))}));
    const std::unique_ptr<ZSTD_CCtx, size_t (*)(ZSTD_CCtx*)> zstd(ZSTD_createCCtx(), ZSTD_freeCCtx);
    Heat heat;
    size_t size = 0, zstdSize = 0, lz4Size = 0;
    for (auto _ : state) {
        heat.run("own", [&] { size = size_t(own->CompressData(image.data(), out.data())); });
        heat.run("plain", [&] { plain.compress(image.data(), out.data()); });
        heat.run("zstd",
                 [&] { zstdSize = ZSTD_compressCCtx(zstd.get(), out.data(), out.size(), image.data(), bytes, 1); });
        heat.run("lz4", [&] {
            lz4Size = size_t(LZ4_compress_default(reinterpret_cast<const char*>(image.data()),
                                                  reinterpret_cast<char*>(out.data()), int(bytes), int(out.size())));
        });
        heat.run("memcpy", [&] { memcpy(out.data(), image.data(), bytes); });
    }
    for (const char* rival : {"plain", "zstd", "lz4"})
        state.counters[std::string("of_") + rival] = heat.ratio("own", rival);
    state.counters["x_memcpy"] = heat.ratio("own", "memcpy");
    state.counters["frames_s"] = 1 / heat.typical("own");
    state.counters["size%"] = 100.0 * double(size) / double(bytes);
    state.counters["zstd%"] = 100.0 * double(zstdSize) / double(bytes);
    state.counters["lz4%"] = 100.0 * double(lz4Size) / double(bytes);
    state.counters["over_entropy%"] = 100.0 * (double(size) / std::max(1.0, entropyBytes(image)) - 1);
}

void decompress(benchmark::State& state, Image (*make)())
{
    Image image = make();
    const auto compressor = std::make_unique<Compressor>(int(image.size()), 1);
    std::vector<uint8_t> block(Compressor::ScratchBytes(int(image.size()), 1));
    block.resize(size_t(compressor->CompressData(image.data(), block.data())));
    Image back(image.size());
    Heat heat;
    for (auto _ : state) {
        heat.run("own", [&] { compressor->TryDecompress(block, back.data()); });
        heat.run("memcpy", [&] { memcpy(back.data(), image.data(), 2 * image.size()); });
    }
    state.counters["x_memcpy"] = heat.ratio("own", "memcpy");
    state.counters["ns_sample"] = heat.typical("own") * 1e9 / double(image.size());
}

Image fullSky()
{
    return lag1images::sky(sFullWidth, sFullHeight);
}
Image smallSky()
{
    return lag1images::sky(sSmallWidth, sSmallHeight);
}

// Samples that a function draws one after the other from random numbers and their place.
template <typename Draw>
Image drawn(unsigned seed, Draw draw)
{
    std::mt19937 random(seed);
    Image image(sFull);
    for (size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<uint16_t>(draw(random, i));
    return image;
}

// A ramp along the lines with a little noise.
Image gradient()
{
    return drawn(3, [](auto& random, size_t i) {
        return (200 + int(i % size_t(sFullWidth)) * 1500 / sFullWidth + int(random() % 4)) << 4;
    });
}

// An evenly lit frame: shot noise on half of the scale.
Image flat()
{
    std::normal_distribution<float> light(2000.0f, 32.0f);
    return drawn(4, [&](auto& random, size_t) { return int(light(random)) << 4; });
}

// Three values nearly everywhere, and one sample in a thousand is bright.
Image fewValues()
{
    return drawn(7, [](auto& random, size_t) {
        const auto value = 0x0B40 + 16 * (random() % 3);
        return value + (random() % 1000 == 0 ? 0x4000 : 0);
    });
}

Image noise12()
{
    return lag1images::noise(sFull, 4096, 16);
}
Image noise16()
{
    return lag1images::noise(sFull, 65536);
}
Image smallNoise()
{
    return lag1images::noise(sSmall, 65536);
}
Image smallConstant()
{
    return Image(sSmall, 0x0B40);
}

// Takes a number from each line's samples, as a correction for line noise does.
Image lineCorrectedSky()
{
    Image image = fullSky();
    std::mt19937 random(6);
    for (size_t i = 0, offset = 0; i < image.size(); ++i) {
        offset = i % size_t(sFullWidth) == 0 ? random() % 97 : offset;
        image[i] = uint16_t(image[i] - std::min<size_t>(image[i], offset));
    }
    return image;
}

BENCHMARK_CAPTURE(rangeEncoder, sky, fullSky);
BENCHMARK_CAPTURE(rangeEncoder, gradient, gradient);
BENCHMARK_CAPTURE(rangeEncoder, flat, flat);
BENCHMARK_CAPTURE(rangeEncoder, few_values, fewValues);
BENCHMARK_CAPTURE(rangeEncoder, noise_12_bit, noise12);
BENCHMARK_CAPTURE(rangeEncoder, noise_16_bit, noise16);
BENCHMARK_CAPTURE(wholeFrame, sky_1624x1240, fullSky);
BENCHMARK_CAPTURE(wholeFrame, line_corrected_sky_1624x1240, lineCorrectedSky);
BENCHMARK_CAPTURE(wholeFrame, incompressible_1624x1240, noise16);
BENCHMARK_CAPTURE(wholeFrame, sky_176x128, smallSky);
BENCHMARK_CAPTURE(wholeFrame, constant_176x128, smallConstant);
BENCHMARK_CAPTURE(wholeFrame, incompressible_176x128, smallNoise);
BENCHMARK_CAPTURE(decompress, sky_1624x1240, fullSky);

} // namespace
