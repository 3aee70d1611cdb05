#include "host/stats/EventList.h"

void AStatsEventList::clear() {
    for (AStatsEvent* event : events) AStatsEvent_release(event);
    events.clear();
}

AStatsEvent* AStatsEventList_addStatsEvent(AStatsEventList* pull_data) {
    AStatsEvent* event = AStatsEvent_obtain();
    pull_data->events.push_back(event);
    return event;
}

namespace zstats {

std::vector<std::vector<uint8_t>> encodedEvents(const AStatsEventList& list) {
    std::vector<std::vector<uint8_t>> result;
    for (AStatsEvent* event : list.events) {
        size_t size = 0;
        const uint8_t* bytes = AStatsEvent_getBuffer(event, &size);
        result.emplace_back(bytes, bytes + size);
    }
    return result;
}

}  // namespace zstats
