#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/stats/EventList.h"
#include "host/stats/EventReader.h"
#include "tests/support/LogCapture.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace zstats::fuzz {

/** Ends the run as a crash does unless `condition` holds. */
inline void require(bool condition) {
    if (!condition) abort();
}

inline std::string textOf(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/** What statsd would make of the list's events, all of which must be readable without an error. */
inline std::vector<ReadEvent> eventsOf(const AStatsEventList& list) {
    std::vector<ReadEvent> events;
    for (const std::vector<uint8_t>& bytes : encodedEvents(list)) {
        const auto event = readEvent(bytes.data(), bytes.size());
        require(event && event->errors == 0);
        events.push_back(*event);
    }
    return events;
}

}  // namespace zstats::fuzz
