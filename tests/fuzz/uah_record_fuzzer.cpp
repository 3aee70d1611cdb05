// The texts of usage records, one a line of the input.

#include <string>
#include <vector>

#include "atoms/AudioUsageAtoms.h"
#include "host/stats/EventList.h"
#include "host/stats/EventReader.h"
#include "readers/TextLines.h"
#include "tests/support/LogCapture.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const zstats::LogCapture quiet;
    std::vector<UahRecord> records;
    zstats::forEachLine({reinterpret_cast<const char*>(data), size}, [&](std::string_view line) {
        records.push_back({0, std::string(line)});
    });
    AStatsEventList list;
    zstats::appendUahEvents(records, 150136, &list);

    const auto events = zstats::encodedEvents(list);
    for (size_t i = 0; i < events.size(); ++i) {
        const auto event = zstats::readEvent(events[i].data(), events[i].size());
        if (!event || event->errors != 0) __builtin_trap();
        const bool last = i + 1 == events.size();
        if (event->fields.size() != 17 && !(last && !event->built)) __builtin_trap();
    }
    // An unbuilt event ends the pull, and nothing else does.
    if (events.size() > records.size()) __builtin_trap();
    return 0;
}
