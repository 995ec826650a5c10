// The overlay parser and what reads its fields: a frame's last rows are whatever a disturbed link left of them.

#include "BinaryOverlay.h"
#include "CameraStatus.h"
#include "Require.h"

#include <cstring>
#include <memory>

using namespace libobribase;

// First byte: words before the row; second: the base found so far; then the words, low byte first.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 4)
        return 0;
    static constexpr int32_t sBases[] = {0, 1, -2};
    const size_t words = (size - 2) / 2, ahead = data[0] % 4;
    if (words <= ahead)
        return 0;
    // A block of exactly the frame's size, so that the address sanitizer sees a step outside.
    const auto frame = std::make_unique<uint16_t[]>(words);
    memcpy(frame.get(), data + 2, words * sizeof(uint16_t));

    BinaryOverlay before; // what another frame has left behind
    before.m_offset = sBases[data[1] % 3];
    before.m_frameId = 0xDEADBEEF;
    before.m_fromTime = {2024, 3, 5, 6, 7, 8, 9};
    before.m_dop[4] = 0xD0D0;
    BinaryOverlay overlay = before;
    overlay.ParseBinaryOverlay(frame.get() + ahead, ahead, words - ahead);
    require(overlay.m_offset == 0 || overlay.m_offset == 1 || overlay.m_offset == -2);
    require(overlay.m_isValid || (overlay.m_frameId == before.m_frameId && overlay.m_fromTime == before.m_fromTime &&
                                  overlay.m_dop[4] == before.m_dop[4]));

    CameraStatus status;
    status.UpdateFromBinaryOverlay(&overlay);
    status.UpdateSystimeFrom(&overlay.m_fromTime);
    unsigned long fileTime = 0;
    fileTime100nsFromYmdHms_2010_2058(&fileTime, &overlay.m_fromTime);
    fileTime100nsFromYmdHms_2010_2058(&fileTime, &overlay.m_toTime);
    require(overlay.ToString().size() < 512 && overlay.ToString().back() == '\n');
    return 0;
}
