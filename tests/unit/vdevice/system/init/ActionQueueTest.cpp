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

class ActionQueueTest : public testing::Test {
  protected:
    void SetUp() override {
        RcFile rc;
        ASSERT_EQ("", parseRcFile("f", kRc, &rc));
        mQueue.setActions(rc.actions);
    }

    void set(const std::string& name, const std::string& value) {
        mProperties[name] = value;
        mQueue.propertySet(name, value);
    }

    /** The services that the commands due now start. */
    std::string started() {
        std::string names;
        while (const auto command = mQueue.next()) names += command->at(1) + " ";
        return names;
    }

    std::map<std::string, std::string> mProperties;
    ActionQueue mQueue{[this](const std::string& name) { return mProperties[name]; }};
};

TEST_F(ActionQueueTest, runsAnEventsActionsInOrderWhoseConditionsHold) {
    mQueue.trigger("nothing waits for this");
    EXPECT_EQ("", started());
    mQueue.trigger("boot");
    EXPECT_EQ("first second ", started());
    set("mode", "fast");
    EXPECT_EQ("", started());
    mQueue.trigger("boot");
    EXPECT_EQ("first second fast ", started());
}

TEST_F(ActionQueueTest, runsOnceWhatHoldsWhenPropertyTriggersAreEnabled) {
    set("a", "1");
    EXPECT_EQ("", started());
    mQueue.enablePropertyTriggers();
    EXPECT_EQ("a_is_1 a_is_set ", started());
    EXPECT_EQ("", started());
}

TEST_F(ActionQueueTest, runsWhatAPropertyTriggersEachTimeItIsSet) {
    mQueue.enablePropertyTriggers();
    EXPECT_EQ("", started());
    const struct {
        const char* name;
        const char* value;
        const char* started;
    } steps[] = {{"a", "1", "a_is_1 a_is_set "},
                 {"a", "1", "a_is_1 a_is_set "},
                 {"b", "2", "both "},
                 {"a", "1", "a_is_1 a_is_set both "},
                 {"a", "01", "a_is_set "},
                 {"a", "", ""},
                 {"c", "1", ""}};
    for (const auto& step : steps) {
        set(step.name, step.value);
        EXPECT_EQ(step.started, started()) << step.name << "=" << step.value;
    }
}

TEST_F(ActionQueueTest, goesByTheValueThatWasSetAlsoWhenItHasChangedSince) {
    mQueue.enablePropertyTriggers();
    EXPECT_EQ("", started());
    set("a", "1");
    set("a", "2");
    EXPECT_EQ("a_is_1 a_is_set a_is_set ", started());
}

}  // namespace
}  // namespace zstats::vdevice
