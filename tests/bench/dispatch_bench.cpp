// One pull's way through the handler table to a handler that does nothing.

#include "daemon/AtomTable.h"
#include "daemon/PullDispatch.h"
#include "host/stats/EventList.h"
#include "tests/bench/BenchKit.h"
#include "tests/support/LogCapture.h"

namespace zstats {
namespace {

void doNothing(ZStatsPullAtomCallback& callback, int32_t, AStatsEventList*) {
    benchmark::DoNotOptimize(&callback);
}

AtomHandlerTable idleHandlers() {
    AtomHandlerTable handlers;
    for (const AtomEntry& entry : kAtomTable) handlers.emplace(entry.tag, doNothing);
    return handlers;
}

void dispatch(benchmark::State& state) {
    const LogCapture quiet;
    const AtomHandlerTable handlers = idleHandlers();
    ZStatsPullAtomCallback callback;
    AStatsEventList list;
    size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pullAtom(handlers, callback, kAtomTable[next].tag, &list));
        next = next + 1 == kAtomCount ? 0 : next + 1;
    }
}
BENCHMARK(dispatch)->Arg(1);

/** The look-up and the call alone, without the lock and the copy that a pull needs. */
void dispatchFloor(benchmark::State& state) {
    const LogCapture quiet;
    const AtomHandlerTable handlers = idleHandlers();
    ZStatsPullAtomCallback callback;
    AStatsEventList list;
    size_t next = 0;
    for (auto _ : state) {
        const auto found = handlers.find(kAtomTable[next].tag);
        found->second(callback, found->first, &list);
        next = next + 1 == kAtomCount ? 0 : next + 1;
    }
}
BENCHMARK(dispatchFloor)->Name("dispatch_floor")->Arg(1);

}  // namespace
}  // namespace zstats
