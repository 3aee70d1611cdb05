// Wake-up sources from their folder to their records, by their number; one in sixteen is active.

#include <string>
#include <vector>

#include "atoms/ActivityWakeUpSourceAtom.h"
#include "tests/bench/BenchKit.h"
#include "tests/support/TempTree.h"

namespace zstats {
namespace {

/** Writes the sources; the paths of the files that a pull reads. */
std::vector<std::string> writeSources(const TempTree& tree, int64_t sources) {
    std::vector<std::string> paths;
    const auto add = [&](const std::string& name, const char* content) {
        tree.write(name, content);
        paths.push_back(tree.path(name));
    };
    for (int64_t i = 0; i < sources; ++i) {
        const std::string folder = "wakeup" + std::to_string(i) + "/";
        const bool active = i % 16 == 0;
        add(folder + "active_time_ms", active ? "1500\n" : "0\n");
        if (!active) continue;
        for (const char* attribute :
             {"active_count", "event_count", "last_change_ms", "name", "expire_count",
              "max_time_ms", "prevent_suspend_time_ms", "total_time_ms", "wakeup_count"}) {
            add(folder + attribute, "12345\n");
        }
    }
    return paths;
}

void wakeup(benchmark::State& state) {
    const TempTree tree;
    writeSources(tree, state.range(0));
    const std::string folder = tree.path("");
    for (auto _ : state) {
        std::vector<WakeLockInfo> records;
        getWakeLockStatsAt(folder.c_str(), &records);
        benchmark::DoNotOptimize(records.data());
    }
}

void wakeupFloor(benchmark::State& state) {
    const TempTree tree;
    runFileFloor(state, writeSources(tree, state.range(0)));
}

BENCHMARK(wakeup)->Arg(32)->Arg(256)->Arg(4096);
BENCHMARK(wakeupFloor)->Name("wakeup_floor")->Arg(32)->Arg(256)->Arg(4096);

}  // namespace
}  // namespace zstats
