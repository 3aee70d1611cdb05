// Subjects that read trees of small files: CPU idle times at two states a CPU, by the number of
// CPUs, and wake-up sources, by their number, one in sixteen of which is active.

#include "atoms/ActivityWakeUpSourceAtom.h"
#include "atoms/CpuAtoms.h"
#include "tests/bench/BenchKit.h"
#include "tests/support/TempTree.h"

namespace zstats {
namespace {

constexpr int kStates = 2;

/** The writers give back the paths of the files that a pull reads. */
Paths writeCpus(const TempTree& tree, int64_t cpus) {
    Paths paths;
    for (int64_t i = 0; i < cpus * kStates; ++i) {
        const std::string name = "cpu" + std::to_string(i / kStates) + "/cpuidle/state" +
                                 std::to_string(i % kStates) + "/time";
        tree.write(name, "123456789012\n");
        paths.push_back(tree.path(name));
    }
    return paths;
}

Paths writeSources(const TempTree& tree, int64_t sources) {
    const Paths active = {
            "active_time_ms", "active_count", "event_count", "last_change_ms",
            "name",           "expire_count", "max_time_ms", "prevent_suspend_time_ms",
            "total_time_ms",  "wakeup_count"};
    const Paths idle = {"active_time_ms"};
    Paths paths;
    for (int64_t i = 0; i < sources; ++i) {
        for (const std::string& attribute : i % 16 == 0 ? active : idle) {
            const std::string name = "wakeup" + std::to_string(i) + "/" + attribute;
            tree.write(name, i % 16 == 0 ? "12345\n" : "0\n");
            paths.push_back(tree.path(name));
        }
    }
    return paths;
}

void cpuIdle(benchmark::State& state) {
    const TempTree tree;
    writeCpus(tree, state.range(0));
    const std::string range = "0-" + std::to_string(state.range(0) - 1) + "\n";
    runAppending(state, [&](AStatsEventList* list) {
        appendCpuIdleEvents(tree.path("cpu"), kStates, range, 150121, list);
    });
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

void readAll(benchmark::State& state, Paths (*write)(const TempTree&, int64_t)) {
    const TempTree tree;
    runFileFloor(state, write(tree, state.range(0)));
}

BENCHMARK(cpuIdle)->Name("cpu_idle")->Arg(8)->Arg(64);
BENCHMARK_CAPTURE(readAll, cpus, writeCpus)->Name("cpu_idle_floor")->Arg(8)->Arg(64);
BENCHMARK(wakeup)->Arg(32)->Arg(256)->Arg(4096);
BENCHMARK_CAPTURE(readAll, wakeup, writeSources)->Name("wakeup_floor")->Arg(32)->Arg(256)->Arg(4096);

}  // namespace
}  // namespace zstats
