#include "vendor/include/stats_write.h"

#include <stats_event.h>

#include <utility>

#include "daemon/base/Mutex.h"
#include "vendor/substitute/Substitute.h"

namespace {

zstats::Mutex gObserverLock;

std::function<void(const zstats::substitute::WrittenAtom&)>& observerLocked()
        REQUIRES(gObserverLock) {
    static std::function<void(const zstats::substitute::WrittenAtom&)> observer;
    return observer;
}

}  // namespace

namespace zstats::substitute {

void observeStatsWrites(std::function<void(const WrittenAtom&)> observer) {
    const zstats::ScopedLock lock(gObserverLock);
    observerLocked() = std::move(observer);
}

}  // namespace zstats::substitute

namespace NordaFramework {

int stats_write(int atomId, int type, int pe, int lnr, int bnr, const char* info) {
    {
        const zstats::ScopedLock lock(gObserverLock);
        if (observerLocked()) observerLocked()({atomId, type, pe, lnr, bnr, info});
    }
    AStatsEvent* event = AStatsEvent_obtain();
    AStatsEvent_setAtomId(event, static_cast<uint32_t>(atomId));
    for (const int number : {type, pe, lnr, bnr}) AStatsEvent_writeInt32(event, number);
    AStatsEvent_writeString(event, info);
    const int result = AStatsEvent_write(event);
    AStatsEvent_release(event);
    return result < 0 ? result : 0;
}

}  // namespace NordaFramework
