#include <android-base/file.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "host/selinux/Contexts.h"

namespace zstats::selinux {
namespace {

constexpr char kLines[] =
        "# a comment\n"
        "\n"
        "ctl.            u:object_r:any_request:s0\n"
        "ctl.stop$       u:object_r:any_stop:s0\n"
        "ctl.stop$mine   u:object_r:my_stop:s0 exact string\n"
        "ctl.stop$mine2. u:object_r:my_other_stop:s0\n"
        "audio\tu:object_r:audio_service:s0\n"
        "label.missing\n";
constexpr char kOthers[] = "*  u:object_r:nobodys:s0\n";

Contexts contextsOf(const std::string& text) {
    TemporaryFile file;
    EXPECT_TRUE(android::base::WriteStringToFile(text, file.path));
    return Contexts::read(file.path).value();
}

TEST(ContextsTest, aServiceHasTheLabelOfItsWholeName) {
    const Contexts contexts = contextsOf(std::string(kLines) + kOthers);
    const std::map<std::string, std::string> labels = {
            {"audio", "u:object_r:audio_service:s0"}, {"audi", "u:object_r:nobodys:s0"},
            {"audio2", "u:object_r:nobodys:s0"},      {"label.missing", "u:object_r:nobodys:s0"},
            {"*", "u:object_r:nobodys:s0"},           {"#", "u:object_r:nobodys:s0"},
    };
    for (const auto& [name, label] : labels) EXPECT_EQ(label, contexts.ofService(name)) << name;
}

TEST(ContextsTest, aPropertyHasTheLabelOfTheLongestPrefixUnlessOneIsExact) {
    const Contexts contexts = contextsOf(std::string(kOthers) + kLines);
    const std::map<std::string, std::string> labels = {
            {"ctl.start", "u:object_r:any_request:s0"},
            {"ctl.stop$other", "u:object_r:any_stop:s0"},
            {"ctl.stop$mine", "u:object_r:my_stop:s0"},
            {"ctl.stop$mine2", "u:object_r:any_stop:s0"},
            {"ctl.stop$mine2.x", "u:object_r:my_other_stop:s0"},
            {"ct", "u:object_r:nobodys:s0"},
            {"", "u:object_r:nobodys:s0"},
    };
    for (const auto& [name, label] : labels) EXPECT_EQ(label, contexts.ofProperty(name)) << name;
}

TEST(ContextsTest, whatIsNotListedHasNoLabelAndIsRefused) {
    const Contexts contexts = contextsOf(kLines);
    EXPECT_EQ("", contexts.ofService("other"));
    EXPECT_EQ("", contexts.ofProperty("other"));
    EXPECT_FALSE(isAllowed("u:r:init:s0", "", "property_service", "set", "other"));
    EXPECT_FALSE(Contexts::read("/nowhere/at/all"));
}

}  // namespace
}  // namespace zstats::selinux
