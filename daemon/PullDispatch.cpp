#include "daemon/PullDispatch.h"

#include "daemon/AtomTable.h"
#include "daemon/base/Log.h"

namespace zstats {
namespace {

AtomHandlerTable makeAtomHandlers() {
    AtomHandlerTable handlers;
    for (const AtomEntry& entry : kAtomTable) handlers.emplace(entry.tag, entry.handler);
    return handlers;
}

}  // namespace

// Initialised from constants only, so the order of static initialisation does not matter.
const AtomHandlerTable gAtomHandlers = makeAtomHandlers();

AtomHandler getAtomHandler(const AtomHandlerTable& handlers, ZStatsPullAtomCallback& callback,
                           int32_t atomTag) {
    const ScopedLock lock(callback.handlerLock());
    const auto found = handlers.find(atomTag);
    if (found == handlers.end()) {
        ZLOG_AT(2, DEBUG, "PullAtomCallback %s do not find matching handler for atomTag = %d",
                __func__, atomTag);
        return nullptr;
    }
    ZLOG_AT(2, DEBUG, "PullAtomCallback %s find matching handler for atomTag = %d", __func__,
            atomTag);
    return found->second;
}

AStatsManager_PullAtomCallbackReturn pullAtom(const AtomHandlerTable& handlers,
                                              ZStatsPullAtomCallback& callback, int32_t atomTag,
                                              AStatsEventList* data) {
    // Called with the lock released: a slow handler must not delay other pulls.
    const AtomHandler handler = getAtomHandler(handlers, callback, atomTag);
    if (handler) handler(callback, atomTag, data);
    return AStatsManager_PULL_SUCCESS;
}

AStatsManager_PullAtomCallbackReturn onPullAtom(int32_t atomTag, AStatsEventList* data,
                                                void* cookie) {
    return pullAtom(gAtomHandlers, *static_cast<ZStatsPullAtomCallback*>(cookie), atomTag, data);
}

}  // namespace zstats
