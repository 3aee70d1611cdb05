// The text of the DDR residency node, twice: from nothing, and against the baseline it left.

#include <map>
#include <stdexcept>
#include <string>

#include "atoms/MemoryStorageAtoms.h"
#include "host/stats/EventList.h"
#include "host/stats/EventReader.h"
#include "tests/support/LogCapture.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const zstats::LogCapture quiet;
    const std::string content(reinterpret_cast<const char*>(data), size);
    std::map<int32_t, int64_t> lastMs;
    for (int pull = 0; pull < 2; ++pull) {
        AStatsEventList list;
        try {
            zstats::appendDdrResidencyEvents(content, lastMs, 150027, &list);
        } catch (const std::out_of_range&) {  // what a line with a blank number comes to
        }
        for (const auto& bytes : zstats::encodedEvents(list)) {
            if (!zstats::isValidEvent(bytes.data(), bytes.size())) __builtin_trap();
        }
        if (lastMs.size() > list.events.size()) __builtin_trap();
    }
    return 0;
}
