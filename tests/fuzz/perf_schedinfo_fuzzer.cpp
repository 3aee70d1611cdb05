// The text of the scheduling node.

#include <stdexcept>
#include <string>

#include "atoms/CpuAtoms.h"
#include "host/stats/EventList.h"
#include "host/stats/EventReader.h"
#include "tests/support/LogCapture.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const zstats::LogCapture quiet;
    const std::string content(reinterpret_cast<const char*>(data), size);
    AStatsEventList list;
    try {
        zstats::appendPerfSchedinfoEvents(content, 150141, &list);
    } catch (const std::out_of_range&) {  // a value of more than 64 bits
    }
    if (list.events.size() > 10) __builtin_trap();
    for (const auto& bytes : zstats::encodedEvents(list)) {
        const auto event = zstats::readEvent(bytes.data(), bytes.size());
        if (!event || !event->valid() || event->fields.size() != 7) __builtin_trap();
    }
    return 0;
}
