// Any camera words, of any image size: a frame goes through every stage on every instruction level of the processor,
// and must come out with the reference's bits, without a step outside its buffers.
//
// Input: width, height, two bytes of switches, then the camera's words, repeated until they fill the frame.
#include "FrameProcessing.h"
#include "PixelKernels.h"
#include "Require.h"

#include "../../bench/PixelReference.h"

#include <numeric>
#include <vector>

namespace {

using libobribase::FrameProcessing;

/// What an input asks for.
struct SCase {
    int width, height, isCompressed, lineNoise, keepRows, pedestal, flatScale, rawRows, rawColumns, inverted,
        showOverflow;
    std::vector<uint8_t> raw; ///< of exactly the frame's size
    std::vector<uint16_t> dark, flat;
    std::vector<uint32_t> curve = std::vector<uint32_t>(65536);
    size_t area() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
};

/// Everything that the stages leave behind.
struct SOutcome {
    explicit SOutcome(size_t area) : frame(area), rgb(area) {}
    std::vector<uint16_t> frame, profile = std::vector<uint16_t>(33);
    std::vector<uint32_t> rgb;
    std::vector<uint64_t> bins = std::vector<uint64_t>(1024);
    uint32_t mean = 0;
    bool operator==(const SOutcome&) const = default;
};

SCase caseOf(const uint8_t* data, size_t size)
{
    SCase c{};
    std::iota(c.curve.begin(), c.curve.end(), 0x100); // no grey
    c.width = 1 + data[0] + (data[2] & 1) * 200;      // 205 columns and 35 rows have a mean
    c.height = 1 + data[1] % 48;
    c.isCompressed = data[2] >> 1 & 1;
    c.lineNoise = data[2] >> 2 & 1;
    c.keepRows = data[2] >> 3 & 1 ? 16 : 0;
    c.inverted = data[2] >> 4 & 1;
    c.showOverflow = data[2] >> 5 & 1;
    c.pedestal = (data[3] & 3) * 700;
    c.flatScale = (data[3] >> 2 & 3) * 21000;
    c.rawRows = data[3] >> 4 & 3;
    c.rawColumns = data[3] >> 6;
    c.raw.resize(c.isCompressed ? static_cast<size_t>((c.width + 7) / 8 * 12) * c.height : c.area() * 2);
    for (size_t i = 0; i < c.raw.size(); ++i)
        c.raw[i] = data[4 + i % (size - 4)];
    for (size_t i = 0; i < c.area(); ++i) {
        c.dark.push_back(static_cast<uint16_t>(data[2] >> 6 ? data[4 + i * 7 % (size - 4)] << 4 : 0));
        c.flat.push_back(static_cast<uint16_t>(data[4 + i * 5 % (size - 4)] << 7));
    }
    return c;
}

SOutcome processed(SCase& c)
{
    SOutcome out(c.area());
    FrameProcessing frame(c.width, c.height, c.isCompressed, out.frame.data(), c.dark.data(), c.flat.data());
    frame.DecodeFrame(c.raw.data());
    out.mean = frame.m_mean;
    frame.CalculateFrameLineAverages();
    frame.ApplyNoiseDarkFlatProcessing(c.lineNoise, c.keepRows, static_cast<uint16_t>(c.pedestal),
                                       static_cast<uint16_t>(c.flatScale));
    frame.CreatePreview(nullptr, nullptr, out.rgb.data(), out.bins.data(), c.curve.data(), out.profile.data(), 20, 20,
                        c.rawRows, c.rawColumns, 0, c.inverted, 0, c.showOverflow);
    return out;
}

SOutcome expected(SCase& c)
{
    SOutcome out(c.area());
    PixelReference frame(c.width, c.height, c.isCompressed, out.frame.data(), c.dark.data(), c.flat.data());
    frame.decode(c.raw.data());
    out.mean = frame.m_mean;
    frame.lineAverages();
    frame.correct(c.lineNoise, c.keepRows, c.pedestal, c.flatScale);
    frame.preview({out.rgb.data(), out.bins.data(), c.curve.data(), out.profile.data(), 20, 20, c.rawRows, c.rawColumns,
                   0, c.inverted, 0, c.showOverflow, nullptr});
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 5)
        return 0;
    SCase c = caseOf(data, size);
    const SOutcome reference = expected(c);
    for (const libobribase::SPixelKernels* level : libobribase::pixelLevels()) {
        libobribase::choosePixelKernels(*level);
        require(processed(c) == reference);
    }
    return 0;
}
