#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <vector>

#include "vendor/include/uah_client.h"

namespace zstats {

/**
 * Appends an event of seventeen fields for each usage record, in order. Stops at a record with
 * another number of fields: that record's event has its first field and is not built, and the later
 * records are dropped. Any thread.
 */
void appendUahEvents(const std::vector<UahRecord>& records, int32_t atomTag, AStatsEventList* data);

}  // namespace zstats
