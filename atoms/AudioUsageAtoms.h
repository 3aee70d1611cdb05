#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <vector>

#include "vendor/include/uah_client.h"

namespace zstats {

/**
 * Appends an event of seventeen fields for each usage record, in order. At a record that has not
 * exactly seventeen fields it stops: that record's event holds its first field and is not built,
 * and the records behind it are dropped. Any thread.
 */
void appendUahEvents(const std::vector<UahRecord>& records, int32_t atomTag, AStatsEventList* data);

}  // namespace zstats
