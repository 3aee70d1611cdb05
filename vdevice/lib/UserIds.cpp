#include "vdevice/lib/UserIds.h"

#include <android-base/parseint.h>
#include <android-base/strings.h>

#include <cctype>
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
    uid_t id = 0;
    return android::base::ParseUint(text, &id) ? id : userIdOf(text);
}

std::optional<uid_t> userIdOfAid(const std::string& aid) {
    std::string_view prefixed = aid;
    if (!android::base::ConsumePrefix(&prefixed, "AID_")) return std::nullopt;
    std::string name(prefixed);
    for (char& letter : name) letter = static_cast<char>(tolower(letter));
    return userIdOf(name);
}

}  // namespace zstats::vdevice
