#include "tests/support/Events.h"

#include <gtest/gtest.h>

#include "daemon/PullDispatch.h"
#include "host/stats/EventList.h"

namespace zstats {
namespace {

Event decode(const std::vector<uint8_t>& bytes) {
    const auto event = readEvent(bytes.data(), bytes.size());
    if (!event) {
        ADD_FAILURE() << "an event of " << bytes.size() << " bytes cannot be decoded";
        return {};
    }
    EXPECT_EQ(event->errors, 0u);
    EXPECT_EQ(event->trailingBytes, 0u);
    return {event->atomId, event->built, event->fields};
}

}  // namespace

std::vector<Event> eventsOf(const AStatsEventList& list) {
    std::vector<Event> events;
    for (const auto& bytes : encodedEvents(list)) events.push_back(decode(bytes));
    return events;
}

void pullInto(AStatsEventList* list, ZStatsPullAtomCallback& callback, int32_t tag) {
    EXPECT_EQ(onPullAtom(tag, list, &callback), AStatsManager_PULL_SUCCESS);
}

}  // namespace zstats
