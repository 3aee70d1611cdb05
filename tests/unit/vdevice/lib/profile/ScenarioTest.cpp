#include <gtest/gtest.h>

#include "vdevice/lib/profile/Scenario.h"

namespace zstats::vdevice {
namespace {

using Lines = std::vector<std::string>;

/** What holds at a second, a line a value. */
Lines valuesAt(const char* text, int64_t second) {
    const auto parsed = Scenario::parse(text);
    if (const auto* reason = std::get_if<std::string>(&parsed)) return {*reason};
    Lines lines;
    for (const auto& [target, value] : std::get<Scenario>(parsed).at(second)) {
        lines.push_back(target.file + "|" + target.key + "|" + value);
    }
    return lines;
}

TEST(ScenarioTest, holdsWhatTheLatestStepHasSet) {
    constexpr char kText[] =
            "# a comment\n"
            "at 2 s\n"
            "  node gpu 10 -20 to 20 20 until 7 s\n"
            "  thermal 30.0 31.5 to 40.0 31.5 until 4 s\n"
            "  charger getPsyBatteryTemp 305\n"
            "  audio two words\n"
            "\n"
            "at 5 s\n"
            "  charger getPsyBatteryTemp 300\n"
            "  wakeup wakeup3 active_time_ms 1\n"
            "  node lines a: 1\\nb: 2\n";
    const struct {
        int64_t second;
        Lines values;
    } kCases[] = {
            {1, {}},
            {2,
             {"audio||two words", "charger|getPsyBatteryTemp|305", "nodes/gpu||10 -20",
              "thermal||30.0\n31.5"}},
            {3,
             {"audio||two words", "charger|getPsyBatteryTemp|305", "nodes/gpu||12 -12",
              "thermal||35.0\n31.5"}},
            {5,
             {"audio||two words", "charger|getPsyBatteryTemp|300", "nodes/gpu||16 4",
              "nodes/lines||a: 1\nb: 2", "root/sys/class/wakeup/wakeup3/active_time_ms||1",
              "thermal||40.0\n31.5"}},
            {7,
             {"audio||two words", "charger|getPsyBatteryTemp|300", "nodes/gpu||20 20",
              "nodes/lines||a: 1\nb: 2", "root/sys/class/wakeup/wakeup3/active_time_ms||1",
              "thermal||40.0\n31.5"}},
    };
    for (const auto& item : kCases) {
        EXPECT_EQ(valuesAt(kText, item.second), item.values) << item.second;
    }
    EXPECT_EQ(std::get<Scenario>(Scenario::parse(kText)).end(), 7);
}

TEST(ScenarioTest, saysWhichLineIsWrongAndWhy) {
    const struct {
        const char* text;
        const char* reason;
    } kCases[] = {
            {"node a 1", "line 1: a step, such as 'at 0 s', must stand before it"},
            {"at 5", "line 1: a time not before the last step's, such as '20 s', must follow 'at'"},
            {"at 5 s\n\nat 4 s",
             "line 3: a time not before the last step's, such as '20 s', must follow 'at'"},
            {"at 0 s\nnod a 1", "line 2: 'nod' is nothing that can be set"},
            {"at 0 s\nnode a", "line 2: 'node' wants a value"},
            {"at 0 s\nnode ../a 1", "line 2: '../a' is no plain name"},
            {"at 5 s\nnode a 1 to 2 until 5 s",
             "line 2: a time later than 5 s, such as '90 s', must follow 'until'"},
            {"at 5 s\nnode a 1 to 2 until 9",
             "line 2: a time later than 5 s, such as '90 s', must follow 'until'"},
            {"at 0 s\nnode a 1 to 2 3 until 9 s",
             "line 2: the texts before and behind 'to' differ in more than their numbers"},
            {"at 0 s\nnode a x to y until 9 s",
             "line 2: the texts before and behind 'to' differ in more than their numbers"},
    };
    for (const auto& item : kCases) EXPECT_EQ(valuesAt(item.text, 0), Lines{item.reason});
}

}  // namespace
}  // namespace zstats::vdevice
