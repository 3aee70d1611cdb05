// The parser of "key: value" nodes, by the number of lines.

#include <string>
#include <utility>
#include <vector>

#include "daemon/ZStatsPullAtomCallback.h"
#include "readers/TextLines.h"
#include "tests/bench/BenchKit.h"
#include "tests/support/LogCapture.h"

namespace zstats {
namespace {

/** Lines with keys of one width, in their order or, as nodes with named keys have them, in none. */
std::string keyValueText(int64_t lines, bool shuffled) {
    constexpr int64_t kPrime = 7919;
    std::string text;
    for (int64_t i = 0; i < lines; ++i) {
        const int64_t number = 100'000 + (shuffled ? i * kPrime % 100'003 : i);
        text += "counter_" + std::to_string(number) + ": " + std::to_string(1000 + i * 31) + "\n";
    }
    return text;
}

void parse(benchmark::State& state, bool shuffled) {
    const LogCapture quiet;
    ZStatsPullAtomCallback callback;
    const std::string text = keyValueText(state.range(0), shuffled);
    for (auto _ : state) benchmark::DoNotOptimize(callback.parseKeyValueFromContent(text));
}

/** The map that is the result, filled from texts at hand in the node's order. */
void fillMap(benchmark::State& state, bool shuffled) {
    std::vector<std::pair<std::string, std::string>> entries;
    forEachLine(keyValueText(state.range(0), shuffled), [&](std::string_view line) {
        entries.emplace_back(line.substr(0, line.find(':')), line.substr(line.find(':') + 2));
    });
    for (auto _ : state) {
        KeyValueMap map;
        for (const auto& [key, value] : entries) map.emplace(key, value);
        benchmark::DoNotOptimize(map);
    }
}

void scan(benchmark::State& state, bool shuffled) {
    runScanFloor(state, keyValueText(state.range(0), shuffled));
}

void sizes(benchmark::internal::Benchmark* subject) {
    subject->Arg(8)->Arg(128)->Arg(2048);
}

BENCHMARK_CAPTURE(parse, sorted, false)->Name("key_value")->Apply(sizes);
BENCHMARK_CAPTURE(scan, sorted, false)->Name("key_value_floor")->Apply(sizes);
BENCHMARK_CAPTURE(fillMap, sorted, false)->Name("key_value_result")->Apply(sizes);
BENCHMARK_CAPTURE(parse, shuffled, true)->Name("key_value_unsorted")->Apply(sizes);
BENCHMARK_CAPTURE(scan, shuffled, true)->Name("key_value_unsorted_floor")->Apply(sizes);
BENCHMARK_CAPTURE(fillMap, shuffled, true)->Name("key_value_unsorted_result")->Apply(sizes);

}  // namespace
}  // namespace zstats
