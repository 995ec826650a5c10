#include "StreamStatus.h"

#include "InheritingMutex.h"

namespace {

// Functions instead of globals: a frame processor built during static initialisation may report, too. They are never
// destroyed, for the streaming thread runs until the process ends.
libobribase::InheritingMutex& statusLock()
{
    static auto* lock = new libobribase::InheritingMutex;
    return *lock;
}

SStreamStatus& status()
{
    static auto* record = new SStreamStatus;
    return *record;
}

} // namespace

SStreamStatus readStreamStatus()
{
    const std::lock_guard guard(statusLock());
    return status();
}

void updateStreamStatus(const std::function<void(SStreamStatus&)>& change)
{
    const std::lock_guard guard(statusLock());
    change(status());
}

void reportTrouble(const std::string& line)
{
    updateStreamStatus([&](SStreamStatus& s) {
        s.lastTrouble = line;
        ++s.troublesSoFar;
    });
}
