// The text of the scheduling node.

#include <stdexcept>

#include "atoms/CpuAtoms.h"
#include "tests/fuzz/FuzzKit.h"

using namespace zstats::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const zstats::LogCapture quiet;
    AStatsEventList list;
    try {
        zstats::appendPerfSchedinfoEvents(textOf(data, size), 150141, &list);
    } catch (const std::out_of_range&) {  // a value of more than 64 bits
    }
    require(list.events.size() <= 10);
    for (const auto& event : eventsOf(list)) require(event.valid() && event.fields.size() == 7);
    return 0;
}
