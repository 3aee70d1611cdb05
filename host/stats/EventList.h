#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <memory>
#include <vector>

/**
 * The list that a pull fills; it owns its events. Not thread-safe. The pull interface has it as an
 * opaque type; this definition is for the library, and for tests, which pass a list of theirs to a
 * callback.
 */
struct AStatsEventList {
    struct Release {
        void operator()(AStatsEvent* event) const { AStatsEvent_release(event); }
    };
    std::vector<std::unique_ptr<AStatsEvent, Release>> events;
};

namespace zstats {

/** Copies of the encoded events in the list, built or not, in their order. */
std::vector<std::vector<uint8_t>> encodedEvents(const AStatsEventList& list);

}  // namespace zstats
