#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "daemon/CoreControlChannel.h"
#include "host/properties/PropertyStore.h"

namespace zstats {
namespace {

constexpr char kImage[] = "ro.norda.image.my_engineering.type";
constexpr char kPre[] = "ro.sys.engineering.pre";
constexpr char kRelease[] = "ro.build.release_type";
constexpr char kSecure[] = "ro.secure";
constexpr char kAdbSecure[] = "ro.adb.secure";
constexpr char kDebuggable[] = "ro.debuggable";

TEST(CoreControlChannelTest, OpensByTheFirstRuleThatHolds) {
    const struct {
        bool opens;
        std::vector<std::pair<std::string, std::string>> properties;
    } cases[] = {
            {true, {}},
            // A trial image opens it, whatever the other properties say.
            {true, {{kImage, "preversion"}, {kRelease, "true"}}},
            {false, {{kImage, "preversion2"}, {kRelease, "true"}}},
            {true, {{kImage, "preversion2"}}},
            // So does the engineering flag, if it is exactly "true".
            {true, {{kPre, "true"}, {kRelease, "true"}, {kImage, "release"}}},
            {false, {{kPre, "1"}, {kRelease, "true"}}},
            {false, {{kPre, "true1"}, {kRelease, "true"}}},
            // So does an unlocked build, by the first characters of three properties.
            {true, {{kSecure, "0x1"}, {kAdbSecure, "01"}, {kDebuggable, "1z"}, {kRelease, "true"}}},
            {true, {{kSecure, "0"}, {kAdbSecure, "0"}, {kDebuggable, "1"}, {kImage, "release"}}},
            {false, {{kSecure, "1"}, {kAdbSecure, "0"}, {kDebuggable, "1"}, {kRelease, "true"}}},
            {false, {{kSecure, "0"}, {kAdbSecure, "1"}, {kDebuggable, "1"}, {kRelease, "true"}}},
            {false, {{kSecure, "0"}, {kAdbSecure, "0"}, {kDebuggable, "0"}, {kRelease, "true"}}},
            {false, {{kAdbSecure, "0"}, {kDebuggable, "1"}, {kRelease, "true"}}},
            {false, {{kSecure, "0"}, {kDebuggable, "1"}, {kRelease, "true"}}},
            {false, {{kSecure, "0"}, {kAdbSecure, "0"}, {kRelease, "true"}}},
            // Otherwise, a release does not.
            {false, {{kRelease, "true"}}},
            {true, {{kRelease, "True"}}},
            {true, {{kRelease, "true1"}}},
            {false, {{kImage, "release"}}},
            {false, {{kImage, "release"}, {kRelease, "false"}}},
            {true, {{kImage, "releases"}}},
            {true, {{kImage, "eng"}, {kRelease, "false"}}}};
    for (const auto& row : cases) {
        properties::clearProperties();
        for (const auto& [name, value] : row.properties) property_set(name.c_str(), value.c_str());
        EXPECT_EQ(opensCoreControlChannel(), row.opens) << testing::PrintToString(row.properties);
    }
    properties::clearProperties();
}

}  // namespace
}  // namespace zstats
