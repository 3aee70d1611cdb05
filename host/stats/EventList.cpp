#include "host/stats/EventList.h"

AStatsEvent* AStatsEventList_addStatsEvent(AStatsEventList* pull_data) {
    return pull_data->events.emplace_back(AStatsEvent_obtain()).get();
}

namespace zstats {

std::vector<std::vector<uint8_t>> encodedEvents(const AStatsEventList& list) {
    std::vector<std::vector<uint8_t>> result;
    for (const auto& event : list.events) {
        size_t size = 0;
        const uint8_t* bytes = AStatsEvent_getBuffer(event.get(), &size);
        result.emplace_back(bytes, bytes + size);
    }
    return result;
}

}  // namespace zstats
