#pragma once

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/stats/EventList.h"

/**
 * What the subjects share. A subject NAME at a size is "NAME/SIZE". Beside it stand "NAME_floor",
 * the least that any reader of the same bytes or files must do, and, where the outcome has a cost
 * of its own, "NAME_result": the same events or map made from values at hand.
 */
namespace zstats {

using Paths = std::vector<std::string>;

/** The floor of a parser: one pass over the bytes that reads every decimal number on the way. */
inline uint64_t scanBytes(std::string_view bytes) {
    uint64_t sum = 0;
    uint64_t number = 0;
    for (const char c : bytes) {
        const auto digit = static_cast<unsigned>(c - '0');
        if (digit < 10) {
            number = number * 10 + digit;
        } else {
            sum += number;
            number = 0;
        }
    }
    return sum + number;
}

inline void runScanFloor(benchmark::State& state, const std::string& bytes) {
    for (auto _ : state) benchmark::DoNotOptimize(scanBytes(bytes));
}

/** The floor of a reader of files: each is opened, read to its end and closed. */
inline void runFileFloor(benchmark::State& state, const Paths& paths) {
    char buffer[1024];
    for (auto _ : state) {
        for (const std::string& path : paths) {
            const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
            if (fd < 0) return state.SkipWithError("a file of the benchmark is missing");
            while (read(fd, buffer, sizeof(buffer)) > 0) benchmark::DoNotOptimize(buffer);
            close(fd);
        }
    }
}

/** A subject that appends its events to a list, a fresh one each time. */
template <typename Append>
void runAppending(benchmark::State& state, Append append) {
    for (auto _ : state) {
        AStatsEventList list;
        append(&list);
        benchmark::DoNotOptimize(list.events.data());
    }
}

}  // namespace zstats
