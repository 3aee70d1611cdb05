#include <android-base/strings.h>
#include <gtest/gtest.h>

#include <map>

#include "vdevice/system/init/ActionQueue.h"

namespace zstats::vdevice {
namespace {

constexpr char kRc[] = R"(
on boot
    start first
    start second
on property:a=1
    start a_is_1
on property:a=*
    start a_is_set
on property:a=1 && property:b=2
    start both
on boot && property:mode=fast
    start fast
on property:mode=fast
    start mode
)";

TEST(ActionQueueTest, startsWhatEventsAndPropertiesTrigger) {
    std::map<std::string, std::string> properties;
    ActionQueue queue([&](const std::string& name) { return properties[name]; });
    RcFile rc;
    ASSERT_EQ("", parseRcFile("f", kRc, &rc));
    queue.setActions(rc.actions);

    const struct {
        std::string step;  // "on EVENT", "enable" for the property triggers, or "NAME=VALUE..."
        const char* started;
    } kSteps[] = {
            {"on nothing", ""},
            {"on boot", "first second "},
            // Property triggers rest until they are enabled, and then run once what holds.
            {"mode=fast", ""},
            {"on boot", "first second fast "},
            {"enable", "mode "},
            {"mode=", ""},
            // Each setting triggers, to the same value too.
            {"a=1", "a_is_1 a_is_set "},
            {"a=1", "a_is_1 a_is_set "},
            {"b=2", "both "},
            {"a=1", "a_is_1 a_is_set both "},
            {"a=01", "a_is_set "},
            {"a=", ""},
            {"c=1", ""},
            // It goes by the value that was set, also when that has changed since.
            {"a=1 a=2", "a_is_1 a_is_set both a_is_set "},
    };
    for (const auto& [step, expected] : kSteps) {
        const auto words = android::base::Split(step, " ");
        if (words[0] == "on") {
            queue.trigger(words[1]);
        } else if (words[0] == "enable") {
            queue.enablePropertyTriggers();
        } else {
            for (const std::string& word : words) {
                const auto pair = android::base::Split(word, "=");
                properties[pair[0]] = pair[1];
                queue.propertySet(pair[0], pair[1]);
            }
        }
        std::string started;
        while (const auto command = queue.next()) started += command->at(1) + " ";
        EXPECT_EQ(started, expected) << step;
    }
}

}  // namespace
}  // namespace zstats::vdevice
