#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <functional>
#include <unordered_map>

#include "daemon/ZStatsPullAtomCallback.h"

namespace zstats {

/** Runs one handler on the callback object. Copied out of the table before it is called. */
using AtomHandler = std::function<void(ZStatsPullAtomCallback&, int32_t, AStatsEventList*)>;
using AtomHandlerTable = std::unordered_map<int32_t, AtomHandler>;

/** Every handler by its tag: filled from kAtomTable before main() runs, never changed after. */
extern const AtomHandlerTable gAtomHandlers;

/**
 * The table's handler of a tag, empty when the tag is not in it. Holds the callback object's
 * handler lock only during the search. Any thread.
 */
AtomHandler getAtomHandler(const AtomHandlerTable& handlers, ZStatsPullAtomCallback& callback,
                           int32_t atomTag);

/** onPullAtom with the given table and callback object. */
AStatsManager_PullAtomCallbackReturn pullAtom(const AtomHandlerTable& handlers,
                                              ZStatsPullAtomCallback& callback, int32_t atomTag,
                                              AStatsEventList* data);

/**
 * Answers statsd's pulls, for every tag. The cookie is the ZStatsPullAtomCallback; events are
 * appended to `data`. Always AStatsManager_PULL_SUCCESS: a handler without a value appends
 * nothing, and a tag without a handler counts as a pull without data. Runs on several binder
 * threads at once, and no pull waits for the handler of another.
 */
AStatsManager_PullAtomCallbackReturn onPullAtom(int32_t atomTag, AStatsEventList* data,
                                                void* cookie);

}  // namespace zstats
