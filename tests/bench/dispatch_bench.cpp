// One pull's way through the handler table to a handler that does nothing.

#include "daemon/AtomTable.h"
#include "daemon/PullDispatch.h"
#include "tests/bench/BenchKit.h"
#include "tests/support/LogCapture.h"

namespace zstats {
namespace {

void doNothing(ZStatsPullAtomCallback& callback, int32_t, AStatsEventList*) {
    benchmark::DoNotOptimize(&callback);
}

/** Pulls each atom in turn. */
template <typename Pull>
void run(benchmark::State& state, Pull pull) {
    const LogCapture quiet;
    AtomHandlerTable handlers;
    for (const AtomEntry& entry : kAtomTable) handlers.emplace(entry.tag, doNothing);
    ZStatsPullAtomCallback callback;
    AStatsEventList list;
    size_t next = 0;
    for (auto _ : state) {
        pull(handlers, callback, kAtomTable[next].tag, &list);
        next = next + 1 == kAtomCount ? 0 : next + 1;
    }
}

void dispatch(benchmark::State& state) {
    run(state, [](auto& handlers, auto& callback, int32_t tag, auto* list) {
        benchmark::DoNotOptimize(pullAtom(handlers, callback, tag, list));
    });
}

/** The look-up and the call alone, without the lock and the copy that a pull needs. */
void dispatchFloor(benchmark::State& state) {
    run(state, [](auto& handlers, auto& callback, int32_t tag, auto* list) {
        handlers.find(tag)->second(callback, tag, list);
    });
}

BENCHMARK(dispatch)->Arg(1);
BENCHMARK(dispatchFloor)->Name("dispatch_floor")->Arg(1);

}  // namespace
}  // namespace zstats
