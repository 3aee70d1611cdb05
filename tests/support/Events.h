#pragma once

#include <cstdint>
#include <vector>

#include "daemon/ZStatsPullAtomCallback.h"
#include "host/stats/EventReader.h"

namespace zstats {

using Field = FieldValue;

/** What statsd would make of one event of a pull. */
struct Event {
    int32_t atomId;
    bool built;  // false: the handler never finished the event
    std::vector<Field> fields;
};

/** The decoded events of a list, in order. */
std::vector<Event> eventsOf(const AStatsEventList& list);

/** Pulls `tag` into `list` as statsd does. */
void pullInto(AStatsEventList* list, ZStatsPullAtomCallback& callback, int32_t tag);

}  // namespace zstats
