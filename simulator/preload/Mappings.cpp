#include "Mappings.h"

#include <atomic>

namespace obrisim {

struct SSlot {
    std::atomic<const void*> address{nullptr}; // null: free; sTaken: being written or given back
    Camera* camera = nullptr;
    SMapping mapping;
};
static constinit SSlot sSlots[2 * VIDEO_MAX_FRAME];
static const char sTakenMark = 0;
static const void* const sTaken = &sTakenMark;

void Mappings::add(const void* address, Camera& camera, const SMapping& mapping)
{
    for (SSlot& slot : sSlots) {
        const void* free = nullptr;
        if (!slot.address.compare_exchange_strong(free, sTaken, std::memory_order_acquire))
            continue;
        slot.camera = &camera;
        slot.mapping = mapping;
        slot.address.store(address, std::memory_order_release);
        return;
    }
}

void Mappings::remove(const void* address)
{
    for (SSlot& slot : sSlots) {
        const void* found = address;
        if (!address || !slot.address.compare_exchange_strong(found, sTaken, std::memory_order_acquire))
            continue;
        Camera* const camera = slot.camera;
        const SMapping mapping = slot.mapping;
        slot.address.store(nullptr, std::memory_order_release);
        return camera->unmapped(mapping);
    }
}

} // namespace obrisim
