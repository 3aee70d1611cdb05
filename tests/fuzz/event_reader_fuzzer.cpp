// The reader takes bytes of any process: none may make it read past them or contradict itself.

#include "tests/fuzz/FuzzKit.h"

using namespace zstats::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A copy of the exact size, so that a sanitizer sees a read past its end.
    const std::vector<uint8_t> bytes(data, data + size);
    const auto event = zstats::readEvent(bytes.data(), bytes.size());
    require(zstats::isValidEvent(bytes.data(), bytes.size()) == (event && event->valid()));
    if (!event) return 0;
    require(event->trailingBytes <= size && event->fields.size() <= size);
    require(event->built == (bytes[1] != 0));
    require(!event->valid() || event->fields.size() + 2 == bytes[1]);
    return 0;
}
