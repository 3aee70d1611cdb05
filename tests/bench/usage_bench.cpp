// Usage records from their texts to their events, by their number.

#include <string>
#include <vector>

#include "atoms/AtomEvent.h"
#include "atoms/AudioUsageAtoms.h"
#include "host/stats/EventList.h"
#include "tests/bench/BenchKit.h"

namespace zstats {
namespace {

constexpr int32_t kTag = 150136;
constexpr char kRecord[] =
        "com.example.application,10234,7,foreground,3,1700000000000,1700000360000,360000,4096,12,5,"
        "98765432100,2,1234567890123,main_screen,5000000000,1";

void usage(benchmark::State& state) {
    const std::vector<UahRecord> records(state.range(0), UahRecord{1, std::string(kRecord)});
    for (auto _ : state) {
        AStatsEventList list;
        appendUahEvents(records, kTag, &list);
        benchmark::DoNotOptimize(list.events.data());
    }
}

void usageFloor(benchmark::State& state) {
    const std::vector<UahRecord> records(state.range(0), UahRecord{1, std::string(kRecord)});
    for (auto _ : state) {
        for (const UahRecord& record : records) {
            benchmark::DoNotOptimize(scanBytes(std::get<std::string>(record.value)));
        }
    }
}

void usageResult(benchmark::State& state) {
    const std::string application = "com.example.application";
    const std::string kind = "foreground";
    const std::string screen = "main_screen";
    const int64_t number = 1'700'000'000'000;
    for (auto _ : state) {
        AStatsEventList list;
        for (int64_t i = 0; i < state.range(0); ++i) {
            appendEvent(&list, kTag, application, 1, 2, kind, 3, number, number, number, number, 4,
                        5, number, 6, number, screen, number, 7);
        }
        benchmark::DoNotOptimize(list.events.data());
    }
}

BENCHMARK(usage)->Arg(1)->Arg(100)->Arg(10'000);
BENCHMARK(usageFloor)->Name("usage_floor")->Arg(1)->Arg(100)->Arg(10'000);
BENCHMARK(usageResult)->Name("usage_result")->Arg(1)->Arg(100)->Arg(10'000);

}  // namespace
}  // namespace zstats
