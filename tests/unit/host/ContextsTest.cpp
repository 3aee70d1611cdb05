#include <android-base/file.h>
#include <gtest/gtest.h>

#include <map>

#include "host/selinux/Contexts.h"

namespace zstats::selinux {
namespace {

constexpr char kLines[] =
        "# a comment\n"
        "\n"
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
            {"*", "u:object_r:nobodys:s0"},           {"#", "u:object_r:nobodys:s0"}};
    for (const auto& [name, label] : labels) EXPECT_EQ(label, contexts.ofService(name)) << name;
}

TEST(ContextsTest, whatIsNotListedHasNoLabelAndIsRefused) {
    const Contexts contexts = contextsOf(kLines);
    EXPECT_EQ("", contexts.ofService("other"));
    EXPECT_FALSE(isAllowed("u:r:init:s0", "", "service_manager", "add", "other"));
    EXPECT_FALSE(Contexts::read("/nowhere/at/all"));
}

}  // namespace
}  // namespace zstats::selinux
