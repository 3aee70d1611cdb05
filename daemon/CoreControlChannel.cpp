#include "daemon/CoreControlChannel.h"

#include <cutils/properties.h>

#include <string>

namespace zstats {
namespace {

constexpr char kEngineeringType[] = "ro.norda.image.my_engineering.type";

std::string readProperty(const char* name, const char* defaultValue) {
    char value[PROPERTY_VALUE_MAX] = {};
    property_get(name, value, defaultValue);
    return value;
}

/** Compares the first character alone: "01" counts as '0'. */
bool firstCharacterIs(const char* name, const char* defaultValue, char expected) {
    return readProperty(name, defaultValue)[0] == expected;
}

bool isUnlockedDebugBuild() {
    return firstCharacterIs("ro.secure", "1", '0') && firstCharacterIs("ro.adb.secure", "1", '0') &&
           firstCharacterIs("ro.debuggable", "0", '1');
}

}  // namespace

bool opensCoreControlChannel() {
    // The first rule that applies decides: a trial build that also calls itself a release opens it.
    if (readProperty(kEngineeringType, "release") == "preversion") return true;
    if (readProperty("ro.sys.engineering.pre", "false") == "true") return true;
    if (isUnlockedDebugBuild()) return true;
    if (readProperty("ro.build.release_type", "false") == "true") return false;
    return readProperty(kEngineeringType, "") != "release";
}

}  // namespace zstats
