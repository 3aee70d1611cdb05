#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <vector>

/**
 * The list that a pull fills; it owns its events. Not thread-safe. The pull interface has it as an
 * opaque type; this definition is for the library, and for tests, which pass a list of theirs to a
 * callback.
 */
struct AStatsEventList {
    AStatsEventList() = default;
    AStatsEventList(const AStatsEventList&) = delete;
    AStatsEventList& operator=(const AStatsEventList&) = delete;
    ~AStatsEventList() { clear(); }

    /** Releases all events. */
    void clear();

    std::vector<AStatsEvent*> events;
};

namespace zstats {

/** Copies of the encoded events in the list, built or not, in their order. */
std::vector<std::vector<uint8_t>> encodedEvents(const AStatsEventList& list);

}  // namespace zstats
