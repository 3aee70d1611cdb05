// The texts of usage records, one a line of the input.

#include "atoms/AudioUsageAtoms.h"
#include "readers/TextLines.h"
#include "tests/fuzz/FuzzKit.h"

using namespace zstats::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const zstats::LogCapture quiet;
    std::vector<UahRecord> records;
    zstats::forEachLine(textOf(data, size), [&](std::string_view line) {
        records.push_back({0, std::string(line)});
    });
    AStatsEventList list;
    zstats::appendUahEvents(records, 150136, &list);

    // An unbuilt event ends the pull, and nothing else does.
    const auto events = eventsOf(list);
    require(events.size() <= records.size());
    for (size_t i = 0; i < events.size(); ++i) {
        const bool last = i + 1 == events.size();
        require(events[i].fields.size() == 17 || (last && !events[i].built));
    }
    return 0;
}
