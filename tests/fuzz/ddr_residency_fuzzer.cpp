// The text of the DDR residency node, twice: from nothing, and against the baseline it left.

#include <map>
#include <stdexcept>

#include "atoms/MemoryStorageAtoms.h"
#include "tests/fuzz/FuzzKit.h"

using namespace zstats::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const zstats::LogCapture quiet;
    std::map<int32_t, int64_t> lastMs;
    for (int pull = 0; pull < 2; ++pull) {
        AStatsEventList list;
        try {
            zstats::appendDdrResidencyEvents(textOf(data, size), lastMs, 150027, &list);
        } catch (const std::out_of_range&) {  // what a line with a blank number comes to
        }
        for (const auto& event : eventsOf(list)) require(event.valid());
        require(lastMs.size() <= list.events.size());
    }
    return 0;
}
