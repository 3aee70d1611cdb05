#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/stats/EventList.h"
#include "host/stats/EventReader.h"

namespace zstats::fuzz {

/** Processes one input; ends the process at a finding. */
using Target = void (*)(std::string_view input);

inline std::map<std::string, Target>& targets() {
    static std::map<std::string, Target> all;
    return all;
}

/** Defines a target: FUZZ_TARGET(name) { ... input ... }. An uncaught exception is a finding. */
#define FUZZ_TARGET(name)                                                                       \
    static void name(std::string_view input);                                                   \
    [[maybe_unused]] static const auto name##In = zstats::fuzz::targets().emplace(#name, name); \
    static void name(std::string_view input)

/** Crashes unless `condition` is true. */
inline void require(bool condition) {
    if (!condition) __builtin_trap();
}

/** Runs `action`, which may throw only the given exceptions; true when it threw. */
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

/** The list's events as statsd decodes them. An event that it cannot decode is a finding. */
std::vector<ReadEvent> eventsOf(const AStatsEventList& list);

/** `count` parts of `input`, separated by NUL bytes; the last part has the rest. */
std::vector<std::string> partsOf(std::string_view input, size_t count);

}  // namespace zstats::fuzz
