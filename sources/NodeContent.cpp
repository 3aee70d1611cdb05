#include "sources/NodeContent.h"

#include <string_view>

#include "daemon/base/Log.h"
#include "daemon/base/Numbers.h"
#include "daemon/base/TextLines.h"
#include "sources/HalHandleFactoryProxyAidl.h"

namespace zstats::nodes {
namespace {

std::string_view withoutTrailingBlanks(std::string_view text) {
    const size_t last = text.find_last_not_of(kBlanks);
    return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

}  // namespace

std::string readText(const std::string& key) {
    constexpr char kMember[] = "getContentByHandleKey";
    std::string content;
    auto& factory = HalHandleFactoryProxyAidl::getInstance();
    if (!factory.exist()) {
        ZLOG(ERROR, "PullAtomCallback %s read nodeKey: %s, Proxy Aidl not exist.", kMember,
             key.c_str());
    } else {
        factory.read(key, content);
        if (content.empty()) {
            ZLOG(ERROR, "PullAtomCallback %s read nodeKey: %s, len=%lu", kMember, key.c_str(), 0UL);
        }
    }
    // Also written after a failure, with an empty result.
    ZLOG_AT(2, DEBUG, "PullAtomCallback %s read nodeKey: %s, result = %s", kMember, key.c_str(),
            content.c_str());
    return content;
}

int32_t readNumber(const std::string& key) {
    constexpr char kMember[] = "getValueByHandleKey";
    // -1 stands for a missing node. A node that holds -1 cannot be told apart.
    int32_t value = -1;
    auto& factory = HalHandleFactoryProxyAidl::getInstance();
    if (factory.exist()) {
        std::string content;
        factory.read(key, content);
        if (!content.empty()) value = leadingInt32(content);
    }
    ZLOG_AT(2, DEBUG, "PullAtomCallback %s read nodeKey: %s, value = %d", kMember, key.c_str(),
            value);
    return value;
}

KeyValueMap parseKeyValueFromContent(const std::string& content) {
    KeyValueMap map;
    forEachLine(content, [&map](std::string_view line) {
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos) return;
        // Most nodes list their keys in order: with this hint each is inserted in constant time.
        map.insert_or_assign(map.end(), std::string(withoutTrailingBlanks(line.substr(0, colon))),
                             std::string(withoutLeadingBlanks(line.substr(colon + 1))));
    });
    return map;
}

int32_t getValueByKey(const KeyValueMap& map, const std::string& key) {
    const auto found = map.find(key);
    if (found == map.end()) {
        ZLOG(ERROR, "PullAtomCallback %s node Key: %s not exist.", __func__, key.c_str());
        return -1;
    }
    ZLOG_AT(2, DEBUG, "PullAtomCallback %s node Key: %s, value: %s ", __func__, key.c_str(),
            found->second.c_str());
    return leadingInt32(found->second);
}

}  // namespace zstats::nodes
