// What happens to a frame between the driver's buffer and the window.

#include "FrameProcessorSite.h"
#include "Log.h"
#include "SharedFlag.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

using libobribase::storeShared;
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
    sPretended.preview.clear();
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
    EXPECT_TRUE(sPretended.preview.empty());
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
    EXPECT_EQ(lostAfter(0xFFFFFFFF) - base, 1u);
    EXPECT_EQ(lostAfter(2) - base, 3u); // 0 and 1, across the wrap
    EXPECT_EQ(lostAfter(2) - base, 3u);
    EXPECT_EQ(lostAfter(1) - base, 3u);
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

// Grey of the stretch and plain grey differ for 0x8000: 127 and 128.
TEST_F(FrameSteps, RowsAndColumnsOfTheOverlayAreShownPlain)
{
    struct SCase {
        int w, h;
        uint32_t rawMode, flags;
        int rows, columns;
    };
    const SCase cases[] = {
        {240, 64, 2, 0, 1, 0}, {176, 128, 0, 0, 8, 0}, {176, 64, 0, 0, 16, 0}, {240, 64, 1, 1u << 28, 16, 8}};
    for (const SCase& c : cases) {
        setSize(c.w, c.h);
        std::fill(pixels.begin(), pixels.end(), uint16_t{0x8000});
        setMode(c.rawMode, c.flags);
        frames();
        const int x = 140; // beside overlay and cross-hair
        int rows = 1, columns = 0;
        while (previewAt(x, c.h - 1 - rows) == 0x808080)
            ++rows;
        while (previewAt(columns, 2) == 0x808080)
            ++columns;
        EXPECT_EQ(rows, c.rows) << c.w << " mode " << c.rawMode;
        EXPECT_EQ(columns, c.columns) << c.flags;
    }
}

TEST_F(FrameSteps, OverflowIsMarkedAtTheEndThatInversionNames)
{
    setMode(2);
    pixel(100, 20) = 0xFFF0;
    pixel(102, 20) = 0x0010;
    processor.SetShowPixelOverflow(true);
    frames();
    EXPECT_EQ(previewAt(100, 20), 0xFE0000u);
    EXPECT_EQ(previewAt(102, 20), 0u);
    cam.invertImage = 1;
    frames();
    EXPECT_EQ(previewAt(100, 20), 0xFEFEFEu);
    EXPECT_EQ(previewAt(102, 20), sRed);
}

TEST_F(FrameSteps, CrossHairLiesWhereItIsDefined)
{
    for (const auto& [w, h] : {std::pair{176, 128}, {241, 77}, {100, 20}}) {
        setSize(w, h);
        frames();
        const auto inBar = [](int at, int size, int gap) {
            return at >= 16 && at < size - 16 && (at < size / 2 - gap || at >= size / 2 + gap);
        };
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const bool inColumn = abs(x - w / 2) <= 1 && inBar(y, h, 32);
                const bool inRow = abs(y - h / 2) <= 1 && inBar(x, w, 48);
                ASSERT_EQ(previewAt(x, y) == sRed, inColumn || inRow) << x << ' ' << y;
            }
    }
}

TEST_F(FrameSteps, HistogramComesWithEveryFrame)
{
    m_updateHistogram = 0;
    setMode(2);
    frames(2);
    EXPECT_EQ(sPretended.histograms, 2);
    EXPECT_EQ(m_updateHistogram, 1);
    EXPECT_EQ(m_histogram->GetHistoBin(0x4000 / 64), 240u * (64 - 33)); // rows 17 to 47
}

// What the main thread does between frames' start and end without the gate; the thread sanitizer is the judge.
TEST_F(FrameSteps, WindowMaySetReadAndDragWhileFramesCome)
{
    frames();
    std::atomic<bool> stop{false};
    std::thread streaming([&] {
        while (!stop)
            process();
    });
    m_histogram->SetContainerSize(424, 114);
    for (int i = 0; i < 60; ++i) {
        for (int* setting : {&cam.applyNoiseCorrection, &cam.showPcTime, &cam.invertImage})
            storeShared(*setting, i % 2);
        processor.SetShowPixelOverflow(i % 2);
        m_histogram->OnMouseClick(100 + i, 50, i % 2);
        storeShared(m_updateHistogram, 0);
        EXPECT_EQ(readStreamStatus().width, 240);
        EXPECT_LE(m_histogram->CopyHistoBins().total, 240u * 64);
    }
    stop = true;
    streaming.join();
}
