#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <map>
#include <string>

namespace zstats {

/**
 * Appends an event for each line of a DDR residency node: the frequency in MHz, and the time in ms
 * at it since the previous call. `lastMs` maps a frequency to its cumulative time and is updated. A
 * frequency that is not in `lastMs` reports its whole time. Throws std::out_of_range at a line
 * whose frequency or time is blank, after appending the lines before it. Not thread-safe.
 */
void appendDdrResidencyEvents(const std::string& content, std::map<int32_t, int64_t>& lastMs,
                              int32_t atomTag, AStatsEventList* data);

}  // namespace zstats
