// What happens to a frame between the driver's buffer and the window.

#include "FrameProcessorSite.h"
#include "GpsLogger.h"
#include "SharedFlag.h"

#include <gmock/gmock.h>

#include <atomic>
#include <regex>
#include <thread>

using testing::HasSubstr;

namespace {

constexpr uint32_t sRed = 0xFF0000;

class FrameSteps : public FrameProcessorSite {};

// Status word 0 of the overlay: the mode as the camera numbers it, and switches.
void setMode(OverlayRow& overlay, uint32_t raw, uint32_t further = 0)
{
    overlay.u32(80, raw << 24 | further);
}

} // namespace

TEST_F(FrameSteps, NoDataTouchesNothingButTheCount)
{
    frame();
    const SStreamStatus before = readStreamStatus();
    const int histograms = sPretended.histograms;
    setSize(176, 128);
    sPretended.preview.clear();
    const struct {
        bool hasBuffer;
        int bytes;
    } cases[] = {{false, 99999}, {true, 0}, {true, -1}, {true, 176 * 128 * 2 - 1}};
    for (const auto& c : cases) {
        sPretended.hasBuffer = c.hasBuffer;
        sPretended.bytesUsed = c.bytes;
        process();
    }
    EXPECT_EQ(cam.frameNr, 5);
    EXPECT_EQ(sPretended.released, 5);
    EXPECT_TRUE(sPretended.preview.empty());
    EXPECT_EQ(sPretended.histograms, histograms);
    EXPECT_EQ(processor.m_width, 240);
    EXPECT_EQ(processor.m_height, 64);
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

TEST_F(FrameSteps, AnySizeWithinTheBuffersGoesThrough)
{
    const int sizes[][2] = {{1, 1}, {8, 1}, {3, 5}, {176, 1}, {1, 1240}, {1624, 17}, {1624, 1240}};
    cam.applyNoiseCorrection = cam.showPcTime = 1;
    for (const auto& [w, h] : sizes) {
        setSize(w, h);
        setMode(overlay, 3, 1u << 28);
        frame();
        EXPECT_EQ(processor.m_width, w);
        EXPECT_EQ(sPretended.previewWidth, w);
    }
}

TEST_F(FrameSteps, PackedLinesBecomeTheWholeWidth)
{
    setSize(816, 620, 612);
    const uint16_t words[] = {0xABCC, 0xABCC, 0xABBC, 0xABBC, 0xAABC, 0xAABC}; // eight pixels 0xABC0
    for (int i = 0; i < 612 * 620; ++i)
        sPretended.raw.push_back(words[i % 6]);
    sPretended.bytesUsed = 612 * 620 * 2;
    process();
    EXPECT_EQ(processor.m_isCompressed, 1);
    EXPECT_EQ(processor.m_width, 816);
    EXPECT_TRUE(std::all_of(processor.decoded(), processor.decoded() + 816 * 620, [](auto p) { return p == 0xABC0; }));
}

TEST_F(FrameSteps, StatusTellsWhatTheOverlaySays)
{
    overlay.byte(74, 7);
    overlay.byte(75, 9);
    overlay.u16(96, 0x9501);
    frame();
    SStreamStatus s = readStreamStatus();
    EXPECT_EQ(processor.m_hasGpsFix, 1);
    EXPECT_EQ(s.width, 240);
    EXPECT_TRUE(s.timeValid);
    EXPECT_EQ(s.fixState, 7);
    EXPECT_EQ(s.satellites, 9);
    EXPECT_TRUE(s.temperatureValid);
    EXPECT_EQ(s.temperature, -21);
    EXPECT_EQ(s.cameraFrameId, 0x01020304u);
    EXPECT_THAT(s.overlayText, HasSubstr("20240305 06:07:08.250"));

    const uint64_t errors = s.overlayErrors;
    overlay.byte(2, 'X');
    frame();
    s = readStreamStatus();
    EXPECT_EQ(s.overlayErrors, errors + 1);
    EXPECT_FALSE(s.timeValid); // the times are those of the frame before
}

// A gap in the camera's counter is the only trace of a frame that the driver dropped.
TEST_F(FrameSteps, LostFramesAreTheGapsOfTheCamerasCounter)
{
    const auto lostAfter = [this](uint32_t id) {
        overlay.u32(36, id);
        frame();
        return readStreamStatus().framesLost;
    };
    const uint64_t base = lostAfter(0xFFFFFFFD);
    EXPECT_EQ(lostAfter(0xFFFFFFFF) - base, 1u);
    EXPECT_EQ(lostAfter(2) - base, 3u); // 0 and 1, across the wrap
    EXPECT_EQ(lostAfter(2) - base, 3u);
    EXPECT_EQ(lostAfter(1) - base, 3u);
    overlay.byte(2, 'X'); // a frame that came, though its counter could not be read
    lostAfter(0);
    overlay.byte(2, 'T');
    EXPECT_EQ(lostAfter(3) - base, 3u);
    EXPECT_EQ(lostAfter(5) - base, 4u);
    processor.StreamStarted();
    EXPECT_EQ(lostAfter(900) - base, 4u);
}

TEST_F(FrameSteps, EveryFrameInHighResolutionModeLogsTheLine)
{
    setMode(overlay, 0, 1u << 21);
    EXPECT_EQ(countOf(loggedBy([&] { frames(3); }), "  I Camera high resolution mode switching to  0\n"), 3);
}

TEST_F(FrameSteps, StatisticsComeEveryHundredFrames)
{
    setSize(176, 8);
    const std::string log = loggedBy([&] { frames(100); });
    EXPECT_EQ(countOf(log, "I PERF"), 1);
    EXPECT_TRUE(std::regex_search(log, std::regex("  I PERF( +-?[0-9]+\\.[0-9]){7}\n"))) << log;
}

TEST_F(FrameSteps, GpsLogGetsOneRowAMinute)
{
    auto* logger = libobribase::CGpsLogger::instance();
    ASSERT_TRUE(logger->Start("."));
    for (int minute : {7, 7, 8, 8, 7}) {
        overlay.byte(12, minute);
        frame();
    }
    logger->Stop();
    overlay.byte(12, 9);
    frame();
    std::string text;
    for (const std::string& file : filesIn("."))
        text += readFile(file);
    EXPECT_EQ(countOf(text, "\r"), 1 + 3);
}

TEST_F(FrameSteps, LineNoiseGoesExceptFromTheRowsKept)
{
    struct SCase {
        uint32_t rawMode;
        int firstKept;
    };
    for (const auto& [rawMode, firstKept] : {SCase{0, 64 - 1 - 16}, SCase{3, 64 - 1}}) {
        setMode(overlay, rawMode);
        for (int enabled : {0, 1}) {
            for (int y = 0; y < cam.h; ++y)
                for (int x = 0; x < cam.w; ++x)
                    pixel(x, y) = static_cast<uint16_t>(0x4000 + (y % 2 ? 0x80 : 0));
            cam.applyNoiseCorrection = enabled;
            frame();
            for (int y = 0; y < cam.h - 1; ++y) {
                const int expected = enabled && y < firstKept ? 0x4040 : 0x4000 + (y % 2 ? 0x80 : 0);
                ASSERT_NEAR(processor.decoded()[y * 240 + 200], expected, 2) << y << " mode " << rawMode;
            }
        }
    }
}

TEST_F(FrameSteps, PcTimeIsStampedIntoTheImage)
{
    frame();
    EXPECT_EQ(processor.decoded()[0], 0x4000);
    cam.showPcTime = 1;
    frame();
    EXPECT_EQ(processor.decoded()[0], 0);
    EXPECT_EQ(processor.decoded()[16 * 240], 0x4000);
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
        {240, 64, 2, 0, 1, 0},         {240, 64, 0, 0, 16, 0},       {176, 128, 0, 0, 8, 0}, {176, 128, 2, 0, 1, 0},
        {240, 64, 1, 1u << 28, 16, 8}, {240, 64, 1, 1u << 29, 16, 0}}; // the other flag does not count
    for (const SCase& c : cases) {
        setSize(c.w, c.h);
        std::fill(pixels.begin(), pixels.end(), uint16_t{0x8000});
        setMode(overlay, c.rawMode, c.flags);
        frame();
        const int x = 140; // beside overlay and cross-hair
        int rows = 1, columns = 0;
        while (previewAt(x, c.h - 1 - rows) == 0x808080)
            ++rows;
        while (previewAt(columns, 2) == 0x808080)
            ++columns;
        EXPECT_EQ(rows, c.rows) << c.w << " mode " << c.rawMode;
        EXPECT_EQ(columns, c.columns) << c.flags;
        EXPECT_EQ(previewAt(x, 2), 0x7F7F7Fu);
    }
}

TEST_F(FrameSteps, OverflowIsMarkedAtTheEndThatInversionNames)
{
    setMode(overlay, 2);
    pixel(100, 20) = 0xFFF0;
    pixel(102, 20) = 0x0010;
    frame();
    EXPECT_EQ(previewAt(100, 20), 0xFEFEFEu);
    processor.SetShowPixelOverflow(true);
    frame();
    EXPECT_EQ(previewAt(100, 20), 0xFE0000u);
    EXPECT_EQ(previewAt(102, 20), 0u);
    cam.invertImage = 1;
    frame();
    EXPECT_EQ(previewAt(100, 20), 0xFEFEFEu);
    EXPECT_EQ(previewAt(102, 20), sRed);
}

TEST_F(FrameSteps, CrossHairLiesWhereItIsDefined)
{
    for (const auto& [w, h] : {std::pair{176, 128}, {241, 77}, {100, 20}}) {
        setSize(w, h);
        frame();
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const bool middleColumn = x >= w / 2 - 1 && x <= w / 2 + 1,
                           middleRow = y >= h / 2 - 1 && y <= h / 2 + 1;
                const bool inColumn = (y >= 16 && y < h / 2 - 32) || (y >= h / 2 + 32 && y < h - 16);
                const bool inRow = (x >= 16 && x < w / 2 - 48) || (x >= w / 2 + 48 && x < w - 16);
                ASSERT_EQ(previewAt(x, y) == sRed, (middleColumn && inColumn) || (middleRow && inRow)) << x << ' ' << y;
            }
    }
}

TEST_F(FrameSteps, HistogramIsHandedOverWithEveryFrame)
{
    m_updateHistogram = 0;
    m_histogram->ClearHistoBuffer();
    setMode(overlay, 2);
    frames(2);
    EXPECT_EQ(sPretended.histograms, 2);
    EXPECT_EQ(m_updateHistogram, 1);
    EXPECT_EQ(m_histogram->GetHistoBin(0x4000 / 64), 240u * (64 - 33)); // rows 17 to 47
}

TEST_F(FrameSteps, PhotometryTakesTheTargetsWindowInsideTheFrame)
{
    std::vector<uint16_t> window(256);
    pixel(50, 20) = 0x7770;
    pixel(239, 62) = 0x6660;
    libobribase::storeShared(m_photometryTargetX, 50);
    libobribase::storeShared(m_photometryTargetY, 20);
    frame();
    ASSERT_TRUE(processor.m_photometryBuffer->read(0, window.data()));
    EXPECT_EQ(window[0], 0x7770);
    libobribase::storeShared(m_photometryTargetX, 5000); // chosen on a larger image
    libobribase::storeShared(m_photometryTargetY, 5000);
    frame();
    ASSERT_TRUE(processor.m_photometryBuffer->read(0, window.data()));
    EXPECT_EQ(window[14 * 16 + 15], 0x6660);
    libobribase::storeShared(m_photometryTargetX, 0);
    libobribase::storeShared(m_photometryTargetY, 0);
}

// What the main thread does between frames' start and end without the gate; the thread sanitizer is the judge.
TEST_F(FrameSteps, WindowMaySetReadAndDragWhileFramesCome)
{
    frame();
    std::atomic<bool> stop{false};
    std::thread streaming([&] {
        while (!stop)
            process();
    });
    m_histogram->SetContainerSize(424, 114);
    for (int i = 0; i < 60; ++i) {
        libobribase::storeShared(cam.applyNoiseCorrection, i % 2);
        libobribase::storeShared(cam.showPcTime, i % 3);
        libobribase::storeShared(cam.invertImage, i % 2);
        libobribase::storeShared(m_photometryTargetX, i);
        processor.SetShowPixelOverflow(i % 2);
        m_histogram->OnMouseClick(100 + i, 50, i % 2);
        m_histogram->SetHistoBounds(99);
        libobribase::storeShared(m_updateHistogram, 0);
        EXPECT_EQ(readStreamStatus().width, 240);
        EXPECT_FALSE(processor.IsRecording());
        EXPECT_LE(m_histogram->CopyHistoBins().total, 240u * 64);
        EXPECT_GT(processor.m_photometryBuffer->producedCount(), 0u);
    }
    stop = true;
    streaming.join();
    libobribase::storeShared(m_photometryTargetX, 0);
}
