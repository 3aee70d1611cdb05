#include <cstdint>
#include <cstdlib>

#include "host/stats/EventReader.h"

/** The reader takes bytes of any process: nothing may make it read past them or contradict itself. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A copy of the exact size, so that a sanitizer sees a read past its end.
    const std::vector<uint8_t> bytes(data, data + size);
    const auto event = zstats::readEvent(bytes.data(), bytes.size());
    if (zstats::isValidEvent(bytes.data(), bytes.size()) != (event && event->valid())) abort();
    if (!event) return 0;
    if (event->trailingBytes > size || event->fields.size() > size) abort();
    if (event->built != (bytes[1] != 0)) abort();
    const size_t elements = 2 + event->fields.size();
    if (event->valid() && elements != bytes[1]) abort();
    return 0;
}
