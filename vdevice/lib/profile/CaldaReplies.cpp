#include "vdevice/lib/profile/CaldaReplies.h"

#include <map>
#include <sstream>
#include <string>

#include "sources/ServiceWire.h"
#include "vdevice/lib/profile/ProfileFiles.h"

namespace zstats::vdevice {
namespace {

using Values = std::map<std::string, std::string>;

std::optional<int32_t> intOf(const Values& values, const char* key) {
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : parseInt(found->second);
}

std::optional<CaldaReply> statusReply(const Values& values) {
    if (const auto exception = intOf(values, "exception"); exception.value_or(0) != 0) {
        return CaldaReply{0, {*exception}};
    }
    const auto status = intOf(values, "status");
    if (!status) return std::nullopt;
    return CaldaReply{0, {0, *status}};
}

std::optional<CaldaReply> vectorReply(const Values& values) {
    const auto found = values.find("vector");
    if (found == values.end()) return std::nullopt;
    CaldaReply reply;
    std::istringstream words(found->second);
    for (int32_t word = 0; words >> word;) reply.words.push_back(word);
    return reply;
}

std::optional<CaldaReply> ambientReply(const Values& values) {
    const auto ambient = intOf(values, "ambient");
    if (!ambient) return std::nullopt;
    return CaldaReply{0, {*ambient}};
}

}  // namespace

std::optional<CaldaReply> caldaReply(std::string_view text, uint32_t code) {
    // A transport error precedes everything else, because it concerns the call and not its reply.
    const Values values = keyValueLines(text);
    if (const auto error = intOf(values, "transport_error"); error.value_or(0) != 0) {
        return CaldaReply{*error, {}};
    }
    switch (code) {
        case kCaldaStatus:
            return statusReply(values);
        case kCaldaShellTemperatures:
            return vectorReply(values);
        case kCaldaAmbient:
            return ambientReply(values);
        default:
            return std::nullopt;
    }
}

}  // namespace zstats::vdevice
