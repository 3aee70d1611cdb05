#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/stats/EventList.h"
#include "host/stats/EventReader.h"

namespace zstats::fuzz {

/** What is done with one input of any bytes; it ends the process at what must not happen. */
using Target = void (*)(std::string_view input);

inline std::map<std::string, Target>& targets() {
    static std::map<std::string, Target> all;
    return all;
}

/** Begins a target: FUZZ_TARGET(name) { ... input ... }. An exception that leaves it is a finding. */
#define FUZZ_TARGET(name)                                                                       \
    static void name(std::string_view input);                                                   \
    [[maybe_unused]] static const auto name##In = zstats::fuzz::targets().emplace(#name, name); \
    static void name(std::string_view input)

/** Ends the run as a crash does unless `condition` holds. */
inline void require(bool condition) {
    if (!condition) __builtin_trap();
}

/** Runs `action`, which may throw the exceptions named and no other; true when it threw. */
template <typename Action>
bool throws(Action action) {
    action();
    return false;
}
template <typename Expected, typename... More, typename Action>
bool throws(Action action) {
    try {
        return throws<More...>(action);
    } catch (const Expected&) {
        return true;
    }
}

/** What statsd makes of the list's events, each of which it must be able to read. */
std::vector<ReadEvent> eventsOf(const AStatsEventList& list);

/** The parts of `input` between NUL bytes: `count` of them, the last with the rest. */
std::vector<std::string> partsOf(std::string_view input, size_t count);

}  // namespace zstats::fuzz
