// Parsers of text, by the number of lines, and one pull's way through the handler table to a
// handler that does nothing.

// First, because it does not compile after <stdatomic.h>, which the platform's headers may include.
#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <utility>

#include "atoms/AtomEvent.h"
#include "atoms/AudioUsageAtoms.h"
#include "atoms/MemoryStorageAtoms.h"
#include "daemon/AtomTable.h"
#include "daemon/PullDispatch.h"
#include "daemon/base/SystemHelpers.h"
#include "daemon/base/TextLines.h"
#include "tests/bench/BenchKit.h"
#include "tests/support/LogCapture.h"

namespace zstats {
namespace {

using benchmark::State;

/** The texts that `write` makes of the numbers from 0. */
template <typename Write>
std::string repeat(int64_t count, Write write) {
    std::string text;
    for (int64_t i = 0; i < count; ++i) text += write(i);
    return text;
}

std::string residencyText(int64_t lines) {
    return repeat(lines, [](int64_t i) {
        return "Freq: " + std::to_string(200 + i) +
               " Mhz Time(msec):" + std::to_string(1'000'000 + i * 37) + " count 12\n";
    });
}

std::string usageText(int64_t lines) {
    return repeat(lines, [](int64_t) {
        return "com.example.application,10234,7,foreground,3,1700000000000,1700000360000,360000,"
               "4096,12,5,98765432100,2,1234567890123,main_screen,5000000000,1\n";
    });
}

std::string qcomText(int64_t frequencies) {
    return repeat(frequencies,
                  [](int64_t i) { return std::to_string(123'456'789 + i * 977) + " "; });
}

std::string mtkText(int64_t frequencies) {
    return repeat(frequencies, [](int64_t i) {
        return "opp " + std::to_string(900'000'000 - i * 1'000'000) + " " +
               std::to_string(123'456'789 + i * 977) + "\n";
    });
}

/** Keys of one width, in their order or, as nodes with named keys have them, in none. */
std::string keyValueLine(int64_t number, int64_t i) {
    return "counter_" + std::to_string(100'000 + number) + ": " + std::to_string(1000 + i * 31) +
           "\n";
}
std::string sortedText(int64_t lines) {
    return repeat(lines, [](int64_t i) { return keyValueLine(i, i); });
}
std::string unsortedText(int64_t lines) {
    return repeat(lines, [](int64_t i) { return keyValueLine(i * 7919 % 100'003, i); });
}

void ddr(State& state, const std::string& text) {
    std::map<int32_t, int64_t> lastMs;
    runAppending(state, [&](auto* list) { appendDdrResidencyEvents(text, lastMs, 1, list); });
}

void ddrResult(State& state, const std::string&) {
    runAppending(state, [&](auto* list) {
        for (int64_t i = 0; i < state.range(0); ++i) {
            appendEvent(list, 1, static_cast<int32_t>(i), i);
        }
    });
}

void usage(State& state, const std::string& text) {
    std::vector<UahRecord> records;
    forEachLine(text, [&](std::string_view line) { records.push_back({1, std::string(line)}); });
    runAppending(state, [&](auto* list) { appendUahEvents(records, 1, list); });
}

void usageResult(State& state, const std::string&) {
    const std::string application = "com.example.application";
    const std::string kind = "foreground";
    const std::string screen = "main_screen";
    const int64_t time = 1'700'000'000'000;
    runAppending(state, [&](auto* list) {
        for (int64_t i = 0; i < state.range(0); ++i) {
            appendEvent(list, 1, application, 1, 2, kind, 3, time, time, time, time, 4, 5, time, 6,
                        time, screen, time, 7);
        }
    });
}

/** A back-end whose node is at hand, so that no service is measured. */
struct TextGpu : GpuStats {
    using Parse = void (*)(const std::string& text, std::vector<long long>& out);
    TextGpu(std::string shown, Parse parser) : text(std::move(shown)), parse(parser) {}
    void readFreqsKhz(std::vector<int>&) override {}
    void readFreqsTime(std::vector<long long>& out) override { parse(text, out); }

    const std::string text;
    const Parse parse;
};

void gpu(State& state, const std::string& text, TextGpu::Parse parse) {
    GpuReader reader(std::make_shared<TextGpu>(text, parse));
    for (auto _ : state) benchmark::DoNotOptimize(reader.getGpuFreqsTimeDelta());
}
void gpuQcom(State& state, const std::string& text) {
    gpu(state, text, [](const std::string& node, std::vector<long long>& out) {
        splitString(node.c_str(), " \t\n", &out);
    });
}
void gpuMtk(State& state, const std::string& text) {
    gpu(state, text, parseMtkGpuFreqsTime);
}

void keyValue(State& state, const std::string& text) {
    const LogCapture quiet;
    ZStatsPullAtomCallback callback;
    for (auto _ : state) benchmark::DoNotOptimize(callback.parseKeyValueFromContent(text));
}

/** The map that is the result, filled from texts at hand in the node's order. */
void keyValueResult(State& state, const std::string& text) {
    std::vector<std::pair<std::string, std::string>> entries;
    forEachLine(text, [&](std::string_view line) {
        entries.emplace_back(line.substr(0, line.find(':')), line.substr(line.find(':') + 2));
    });
    for (auto _ : state) {
        KeyValueMap map;
        for (const auto& [key, value] : entries) map.emplace(key, value);
        benchmark::DoNotOptimize(map);
    }
}

using Run = void (*)(State& state, const std::string& text);

/** Registers a subject over this text at these sizes, with its floor and its result. */
bool subject(const std::string& name, std::string (*text)(int64_t), std::vector<int64_t> sizes,
             Run run, Run result = nullptr) {
    const std::pair<const char*, Run> runs[] = {
            {"", run}, {"_floor", runScanFloor}, {"_result", result}};
    for (const auto& [suffix, function] : runs) {
        if (function == nullptr) continue;
        const auto measure = [text, function = function](State& state) {
            function(state, text(state.range(0)));
        };
        auto* const made = benchmark::RegisterBenchmark((name + suffix).c_str(), measure);
        for (const int64_t size : sizes) made->Arg(size);
    }
    return true;
}

const bool kRegistered[] = {
        subject("ddr", residencyText, {8, 64, 512}, ddr, ddrResult),
        subject("gpu_qcom", qcomText, {16, 64, 256}, gpuQcom),
        subject("gpu_mtk", mtkText, {16, 64, 256}, gpuMtk),
        subject("key_value", sortedText, {8, 128, 2048}, keyValue, keyValueResult),
        subject("key_value_unsorted", unsortedText, {8, 128, 2048}, keyValue, keyValueResult),
        subject("usage", usageText, {1, 100, 10'000}, usage, usageResult),
};

/** Pulls each atom in turn. */
template <typename Pull>
void pullInTurn(State& state, Pull pull) {
    const LogCapture quiet;
    AtomHandlerTable handlers;
    for (const AtomEntry& entry : kAtomTable) {
        handlers.emplace(entry.tag, [](auto& callback, int32_t, AStatsEventList*) {
            benchmark::DoNotOptimize(&callback);
        });
    }
    ZStatsPullAtomCallback callback;
    AStatsEventList list;
    size_t next = 0;
    for (auto _ : state) {
        pull(handlers, callback, kAtomTable[next].tag, &list);
        next = next + 1 == kAtomCount ? 0 : next + 1;
    }
}

void dispatch(State& state) {
    pullInTurn(state, [](auto& handlers, auto& callback, int32_t tag, auto* list) {
        benchmark::DoNotOptimize(pullAtom(handlers, callback, tag, list));
    });
}

/** The look-up and the call alone, without the lock and the copy that a pull needs. */
void dispatchFloor(State& state) {
    pullInTurn(state, [](auto& handlers, auto& callback, int32_t tag, auto* list) {
        handlers.find(tag)->second(callback, tag, list);
    });
}

BENCHMARK(dispatch)->Arg(1);
BENCHMARK(dispatchFloor)->Name("dispatch_floor")->Arg(1);

}  // namespace
}  // namespace zstats
