// What happens to a frame between the driver's buffer and the window.

#include "FrameProcessorSite.h"
#include "Log.h"

using testing::ContainsRegex;
using testing::HasSubstr;

namespace {

constexpr uint32_t sRed = 0xFF0000;

class FrameSteps : public FrameProcessorSite {
protected:
    // Status word 0 of the overlay: the mode as the camera numbers it, and switches.
    void setMode(uint32_t raw, uint32_t further = 0) { overlay.u32(80, raw << 24 | further); }
};

} // namespace

TEST_F(FrameSteps, NoDataTouchesNothingButTheCount)
{
    frames();
    const SStreamStatus before = readStreamStatus();
    setSize(176, 128);
    sPretended.preview = nullptr;
    // Buffer, bytes, words; the last one has all its words, but they cut the last group of each packed row short.
    const int cases[][3] = {
        {0, 99999, 176}, {1, 0, 176}, {1, -1, 176}, {1, 176 * 128 * 2 - 1, 176}, {1, 131 * 128 * 2, 131}};
    for (const auto& [hasBuffer, bytes, words] : cases) {
        sPretended.hasBuffer = hasBuffer;
        sPretended.bytesUsed = bytes;
        cam.wCompact = words;
        process();
    }
    EXPECT_EQ(cam.frameNr, 6);
    EXPECT_EQ(sPretended.released, 6);
    EXPECT_EQ(sPretended.preview, nullptr);
    EXPECT_EQ(sPretended.histograms, 1);
    EXPECT_EQ(processor.m_width, 240);
    EXPECT_EQ(readStreamStatus().framesSeen, before.framesSeen);
}

// The address sanitizer sees it when a frame is decoded that its buffers do not hold.
TEST_F(FrameSteps, SizesBeyondTheBuffersAreRefusedWithOneLine)
{
    const int sizes[][3] = {{1632, 1240, 0}, {1624, 1241, 0}, {100, 10, 200}, {0, 10, 0}, {10, 0, 0}, {10, -1, 10}};
    for (const auto& [w, h, compressed] : sizes) {
        cam.w = w;
        cam.h = h;
        cam.wCompact = compressed ? compressed : w;
        sPretended.raw.assign(8, 0);
        sPretended.bytesUsed = INT32_MAX;
        EXPECT_THAT(saidBy([&] { process(); }), HasSubstr(" are refused")) << w << ' ' << h;
        EXPECT_EQ(saidBy([&] { process(); }), "");
    }
    EXPECT_EQ(processor.m_width, 0);
    EXPECT_EQ(sPretended.released, 12);
}

// A gap in the camera's counter is the only trace of a frame that the driver dropped.
TEST_F(FrameSteps, LostFramesAreTheGapsOfTheCamerasCounter)
{
    const auto lostAfter = [this](uint32_t id) {
        overlay.u32(36, id);
        frames();
        return readStreamStatus().framesLost;
    };
    const uint64_t base = lostAfter(0xFFFFFFFD);
    for (const auto& [id, lost] : {std::pair{0xFFFFFFFFu, 1u}, {2, 3}, {2, 3}, {1, 3}}) // 0 and 1 across the wrap
        EXPECT_EQ(lostAfter(id) - base, lost) << id;
    EXPECT_TRUE(readStreamStatus().timeValid);
    const uint64_t errors = readStreamStatus().overlayErrors;
    overlay.byte(2, 'X'); // a frame that came, though its counter could not be read
    lostAfter(0);
    EXPECT_EQ(readStreamStatus().overlayErrors, errors + 1);
    EXPECT_FALSE(readStreamStatus().timeValid); // the times are those of the frame before
    overlay.byte(2, 'T');
    EXPECT_EQ(lostAfter(3) - base, 3u);
    EXPECT_EQ(lostAfter(5) - base, 4u);
    processor.StreamStarted();
    EXPECT_EQ(lostAfter(900) - base, 4u);
}

TEST_F(FrameSteps, StatusTellsFixAndTemperature)
{
    overlay.byte(74, 3);
    overlay.byte(75, 9);
    for (const int hasReading : {1, 0}) {
        overlay.u16(96, static_cast<uint16_t>(0x9500 + hasReading));
        frames();
        const SStreamStatus s = readStreamStatus();
        EXPECT_EQ(std::tuple(s.fixState, s.satellites, s.temperature), std::tuple(3, 9, -21));
        EXPECT_EQ(s.temperatureValid, hasReading);
    }
}

TEST_F(FrameSteps, LogTellsTheCamerasModesAndEveryHundredFramesWhatStagesTook)
{
    setSize(176, 8);
    libobribase::logOpen(".", '/');
    setMode(2, 1u << 21);
    frames(2);
    setMode(2);
    frames(198);
    libobribase::logClose();
    const std::string log = folder.textOf("obri_app_log_");
    EXPECT_THAT(log, ContainsRegex("(  I Camera high resolution mode switching to  0\n.*){2}"));
    EXPECT_THAT(log, ContainsRegex("(  I PERF( +-?[0-9]+\\.[0-9]){7}\n.*){2}"));
    EXPECT_THAT(log, testing::Not(ContainsRegex("(PERF.*){3}")));
}

TEST_F(FrameSteps, LineNoiseGoesExceptFromTheRowsKept)
{
    const auto striped = [](int y) { return static_cast<uint16_t>(y % 2 ? 0x4080 : 0x4000); };
    cam.applyNoiseCorrection = 1;
    for (const auto& [rawMode, firstKept] : {std::pair{0, 64 - 1 - 16}, {3, 64 - 1}}) {
        setMode(rawMode);
        for (int y = 0; y < cam.h; ++y)
            std::fill_n(&pixel(0, y), cam.w, striped(y));
        frames();
        for (int y = 0; y < cam.h - 1; ++y)
            ASSERT_NEAR(processor.decoded()[y * 240 + 200], y < firstKept ? 0x4040 : striped(y), 2) << y;
    }
}

TEST_F(FrameSteps, PreviewAndHistogramComeWithEveryFrame)
{
    m_updateHistogram = 0;
    setMode(2, 1u << 28); // the camera writes over eight columns
    pixel(100, 20) = 0xFFF0;
    pixel(102, 20) = 0x0010;
    processor.SetShowPixelOverflow(true);
    for (const int inverted : {0, 1}) {
        cam.invertImage = inverted;
        frames();
        EXPECT_EQ(sPretended.histograms, 1 + inverted);
        EXPECT_EQ(previewAt(100, 20), inverted ? 0xFEFEFEu : 0xFE0000u);
        EXPECT_EQ(previewAt(102, 20), inverted ? sRed : 0u);
        EXPECT_EQ(previewAt(71, 32), sRed) << "the cross-hair";
        EXPECT_NE(previewAt(72, 32), sRed) << "left free around the centre";
    }
    EXPECT_EQ(m_updateHistogram, 1);
    EXPECT_EQ(m_histogram->GetHistoBin(0x4000 / 64), 232u * (64 - 33) - 2); // rows 17 to 47
}
