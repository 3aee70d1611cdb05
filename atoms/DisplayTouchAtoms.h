#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <vector>

namespace zstats {

/**
 * Appends an event with a value for each of the two panels, made by `toField` from its backlight
 * level. With fewer than two levels it appends nothing and writes a debug line that names
 * `handler`. Any thread.
 */
void appendPanels(const std::vector<int32_t>& levels, const char* handler, int32_t atomTag,
                  AStatsEventList* data, int32_t (*toField)(int32_t level));

}  // namespace zstats
