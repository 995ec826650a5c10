#include "AdvRecording.h"

using AdvFrame = AdvRecording;

TEST_F(AdvFrame, FullFramesIndexAndCounts)
{
    expected.add(2);
    expected.frames[1].startNs += 600'000'000'000; // times of the index wrap after 429 s
    expected.frames[1].endNs += 600'000'000'000;
    recordAll();
    expectFile();
}

TEST_F(AdvFrame, StatusEntriesCarryTheProvidersValues)
{
    provider.fixState = 0xE3; // all bits, not just the two that tell a fix
    provider.dopTime = 0xFFFFFFFF;
    provider.frame["GAIN-DB"] = std::string(40000, 'g'); // beyond the limit; the length must stay true
    start();
    for (const auto& [code, value] :
         {std::pair{0x1A00, -999.0F}, {0x1A03, 26.0078125F}, {0xFFEB, 255.9140625F}, {0x0001, 0.0F}}) {
        AdvBuilder::SFrame& frame = expected.add(1).frames.back();
        frame.temperature = value;
        frame.fix = 0xE3;
        frame.dopTime = 0xFFFFFFFF;
        frame.gain = std::string(32767, 'g');
        provider.temperature = static_cast<uint16_t>(code);
        record(frame);
    }
    expectFile();
}

// Row by row, what lies in the image and above its last row, which is behind them. Zones of 12 bits tell more bytes
// than they have.
TEST_F(AdvFrame, ZonesFollowAWholeFirstFrame)
{
    expected.zoneTags = zoneTags({{6, 1, 2, 1}, {0, 0, 1, 2}, {3, 4, 2, 1}, {0, 5, 8, 1}});
    for (const size_t bytes : {2, 1}) {
        expected.bits = bytes == 2 ? 16 : 12;
        expected.frames.clear();
        expected.add(2);
        recordAll({{6, 1, 9, 1}, {0, 5, 3, 1}, {8, 0, 1, 1}, {0, 9, 1, 1}, {0, 0, 1, 2}, {3, 4, 2, 2}});
        AdvBuilder::SFrame& zones = expected.frames[1];
        Bytes picked;
        for (const auto& [x, y, width] : {std::tuple{6, 1, 2}, {0, 0, 1}, {0, 1, 1}, {3, 4, 2}, {0, 5, 8}}) {
            const auto from = zones.pixels.begin() + (y * 8 + x) * int(bytes);
            picked.insert(picked.end(), from, from + width * int(bytes));
        }
        zones.layout = 2;
        zones.pixels = picked;
        zones.surplus = bytes == 2 ? 0 : 7;
        expectFile();
    }
}
