// Arbitrary node text through the key-value parser and the accessors of its result.

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "daemon/ZStatsPullAtomCallback.h"

namespace {

/** What must hold of any text that the parser accepts. */
void check(const std::string& content, zstats::KeyValueMap& map) {
    for (const auto& [key, value] : map) {
        const bool plausible = !value.empty() && content.find(value) != std::string::npos &&
                               key.find_first_of(":\n") == std::string::npos;
        if (!plausible) abort();
    }
    if (map.empty() != (content.find(':') == std::string::npos)) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static auto* const callback = new zstats::ZStatsPullAtomCallback;
    const std::string content(reinterpret_cast<const char*>(data), size);
    try {
        zstats::KeyValueMap map = callback->parseKeyValueFromContent(content);
        check(content, map);
        for (const auto& entry : zstats::KeyValueMap(map)) {
            callback->getValueByKey(map, entry.first);
        }
    } catch (const std::out_of_range&) {
        // A colon with nothing behind it is refused in this way.
    }
    return 0;
}
