// Arbitrary node text through the key-value parser and the accessors of its result.

#include <stdexcept>

#include "daemon/ZStatsPullAtomCallback.h"
#include "tests/fuzz/FuzzKit.h"

using namespace zstats::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static auto* const callback = new zstats::ZStatsPullAtomCallback;
    const std::string content = textOf(data, size);
    try {
        zstats::KeyValueMap map = callback->parseKeyValueFromContent(content);
        require(map.empty() == (content.find(':') == std::string::npos));
        for (const auto& [key, value] : zstats::KeyValueMap(map)) {
            require(!value.empty() && content.find(value) != std::string::npos);
            require(key.find_first_of(":\n") == std::string::npos);
            callback->getValueByKey(map, key);
        }
    } catch (const std::out_of_range&) {
        // A colon with nothing behind it is refused in this way.
    }
    return 0;
}
