// The DDR residency node from its text to its events, by the number of lines.

#include <map>
#include <string>

#include "atoms/AtomEvent.h"
#include "atoms/MemoryStorageAtoms.h"
#include "host/stats/EventList.h"
#include "tests/bench/BenchKit.h"

namespace zstats {
namespace {

constexpr int32_t kTag = 150027;

std::string residencyText(int64_t lines) {
    std::string text;
    for (int64_t i = 0; i < lines; ++i) {
        text += "Freq: " + std::to_string(200 + i) +
                " Mhz Time(msec):" + std::to_string(1'000'000 + i * 37) + " count 12\n";
    }
    return text;
}

void ddr(benchmark::State& state) {
    const std::string text = residencyText(state.range(0));
    std::map<int32_t, int64_t> lastMs;
    for (auto _ : state) {
        AStatsEventList list;
        appendDdrResidencyEvents(text, lastMs, kTag, &list);
        benchmark::DoNotOptimize(list.events.data());
    }
}

void ddrFloor(benchmark::State& state) {
    runScanFloor(state, residencyText(state.range(0)));
}

void ddrResult(benchmark::State& state) {
    for (auto _ : state) {
        AStatsEventList list;
        for (int64_t i = 0; i < state.range(0); ++i) {
            appendEvent(&list, kTag, static_cast<int32_t>(i), i);
        }
        benchmark::DoNotOptimize(list.events.data());
    }
}

BENCHMARK(ddr)->Arg(8)->Arg(64)->Arg(512);
BENCHMARK(ddrFloor)->Name("ddr_floor")->Arg(8)->Arg(64)->Arg(512);
BENCHMARK(ddrResult)->Name("ddr_result")->Arg(8)->Arg(64)->Arg(512);

}  // namespace
}  // namespace zstats
