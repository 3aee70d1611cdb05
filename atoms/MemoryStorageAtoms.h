#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <map>
#include <string>

namespace zstats {

/**
 * Appends an event for each line of a DDR residency node: the frequency in MHz, and the time in ms
 * spent at it since `lastMs` was last written, which maps a frequency to its cumulative time. A
 * frequency that is new to `lastMs` reports all of its time. Throws std::out_of_range at a line
 * whose frequency or time is blank; the lines before it have been appended. One thread at a time.
 */
void appendDdrResidencyEvents(const std::string& content, std::map<int32_t, int64_t>& lastMs,
                              int32_t atomTag, AStatsEventList* data);

}  // namespace zstats
