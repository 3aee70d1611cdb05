// From text to events: the DDR residency node, by its lines, and usage records, by their number.

#include <map>

#include "atoms/AtomEvent.h"
#include "atoms/AudioUsageAtoms.h"
#include "atoms/MemoryStorageAtoms.h"
#include "tests/bench/BenchKit.h"

namespace zstats {
namespace {

constexpr int32_t kDdr = 150027;
constexpr int32_t kUsage = 150136;

std::string residencyText(int64_t lines) {
    std::string text;
    for (int64_t i = 0; i < lines; ++i) {
        text += "Freq: " + std::to_string(200 + i) +
                " Mhz Time(msec):" + std::to_string(1'000'000 + i * 37) + " count 12\n";
    }
    return text;
}

std::vector<UahRecord> usageRecords(int64_t count) {
    const std::string record =
            "com.example.application,10234,7,foreground,3,1700000000000,1700000360000,360000,4096,"
            "12,5,98765432100,2,1234567890123,main_screen,5000000000,1";
    return std::vector<UahRecord>(static_cast<size_t>(count), UahRecord{1, record});
}

void ddr(benchmark::State& state) {
    const std::string text = residencyText(state.range(0));
    std::map<int32_t, int64_t> lastMs;
    runAppending(state, [&](AStatsEventList* list) {
        appendDdrResidencyEvents(text, lastMs, kDdr, list);
    });
}

void ddrFloor(benchmark::State& state) {
    runScanFloor(state, residencyText(state.range(0)));
}

void ddrResult(benchmark::State& state) {
    runAppending(state, [&](AStatsEventList* list) {
        for (int64_t i = 0; i < state.range(0); ++i) {
            appendEvent(list, kDdr, static_cast<int32_t>(i), i);
        }
    });
}

void usage(benchmark::State& state) {
    const auto records = usageRecords(state.range(0));
    runAppending(state, [&](AStatsEventList* list) { appendUahEvents(records, kUsage, list); });
}

void usageFloor(benchmark::State& state) {
    std::string bytes;
    for (const auto& record : usageRecords(state.range(0))) bytes += std::get<1>(record.value);
    runScanFloor(state, bytes);
}

void usageResult(benchmark::State& state) {
    const std::string application = "com.example.application";
    const std::string kind = "foreground";
    const std::string screen = "main_screen";
    const int64_t time = 1'700'000'000'000;
    runAppending(state, [&](AStatsEventList* list) {
        for (int64_t i = 0; i < state.range(0); ++i) {
            appendEvent(list, kUsage, application, 1, 2, kind, 3, time, time, time, time, 4, 5,
                        time, 6, time, screen, time, 7);
        }
    });
}

BENCHMARK(ddr)->Arg(8)->Arg(64)->Arg(512);
BENCHMARK(ddrFloor)->Name("ddr_floor")->Arg(8)->Arg(64)->Arg(512);
BENCHMARK(ddrResult)->Name("ddr_result")->Arg(8)->Arg(64)->Arg(512);
BENCHMARK(usage)->Arg(1)->Arg(100)->Arg(10'000);
BENCHMARK(usageFloor)->Name("usage_floor")->Arg(1)->Arg(100)->Arg(10'000);
BENCHMARK(usageResult)->Name("usage_result")->Arg(1)->Arg(100)->Arg(10'000);

}  // namespace
}  // namespace zstats
