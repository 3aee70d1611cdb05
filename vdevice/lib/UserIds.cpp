#include "vdevice/lib/UserIds.h"

#include <cctype>
#include <charconv>
#include <map>

namespace zstats::vdevice {
namespace {

std::optional<uid_t> userIdOf(const std::string& name) {
    // The numbers are the platform's. Only the users of this device's services and tests are listed.
    static const std::map<std::string, uid_t> kIds = {
            {"root", 0},        {"system", 1000},      {"radio", 1001}, {"graphics", 1003},
            {"input", 1004},    {"audio", 1005},       {"log", 1007},   {"wifi", 1010},
            {"media", 1013},    {"audioserver", 1041}, {"shell", 2000}, {"statsd", 1066},
            {"readproc", 3009}, {"wakelock", 3010},    {"nobody", 9999}};
    const auto found = kIds.find(name);
    if (found == kIds.end()) return std::nullopt;
    return found->second;
}

}  // namespace

std::optional<uid_t> parseUserId(const std::string& text) {
    const auto named = userIdOf(text);
    if (named) return named;
    uid_t id = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, id);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return id;
}

std::optional<uid_t> userIdOfAid(const std::string& aid) {
    static const std::string kPrefix = "AID_";
    if (aid.compare(0, kPrefix.size(), kPrefix) != 0) return std::nullopt;
    std::string name = aid.substr(kPrefix.size());
    for (char& letter : name) letter = static_cast<char>(tolower(letter));
    return userIdOf(name);
}

}  // namespace zstats::vdevice
