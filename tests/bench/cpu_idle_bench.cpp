// CPU idle times from their files to their events, by the number of CPUs, at two states each.

#include <string>
#include <vector>

#include "atoms/CpuAtoms.h"
#include "host/stats/EventList.h"
#include "tests/bench/BenchKit.h"
#include "tests/support/TempTree.h"

namespace zstats {
namespace {

constexpr int kStates = 2;

std::vector<std::string> writeCpus(const TempTree& tree, int64_t cpus) {
    std::vector<std::string> paths;
    for (int64_t cpu = 0; cpu < cpus; ++cpu) {
        for (int state = 0; state < kStates; ++state) {
            const std::string name = "cpu" + std::to_string(cpu) + "/cpuidle/state" +
                                     std::to_string(state) + "/time";
            tree.write(name, "123456789012\n");
            paths.push_back(tree.path(name));
        }
    }
    return paths;
}

void cpuIdle(benchmark::State& state) {
    const TempTree tree;
    writeCpus(tree, state.range(0));
    const std::string range = "0-" + std::to_string(state.range(0) - 1) + "\n";
    for (auto _ : state) {
        AStatsEventList list;
        appendCpuIdleEvents(tree.path("cpu"), kStates, range, 150121, &list);
        benchmark::DoNotOptimize(list.events.data());
    }
}

void cpuIdleFloor(benchmark::State& state) {
    const TempTree tree;
    runFileFloor(state, writeCpus(tree, state.range(0)));
}

BENCHMARK(cpuIdle)->Name("cpu_idle")->Arg(8)->Arg(64);
BENCHMARK(cpuIdleFloor)->Name("cpu_idle_floor")->Arg(8)->Arg(64);

}  // namespace
}  // namespace zstats
