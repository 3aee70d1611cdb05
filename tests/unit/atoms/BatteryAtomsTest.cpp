#include "tests/support/ChargerRows.h"

namespace zstats {
namespace {

class BatteryAtomsTest : public AtomTest {
  protected:
    FakeCharger charger;
};

using BatteryChargerAtomsTest = ChargerRowsTest;

TEST_F(BatteryChargerAtomsTest, carryWhatTheirCallsAnswer) {
    set({{"battery_typical_capacity", "20"}});
    expectChargerRows(
            {{150008, "BatteryHealth", {"getUIsohValue"}, "[-11]", 528, 534},
             {150009, "BatteryCycleCount", {"getPsyBatteryCC"}, "[-11]", 547, 553},
             {150010, "BatteryVoltageNow", {"getBatteryVoltageNow"}, "[-11]", 566, 572},
             {150011, "BatteryCurrentNow", {"getPsyBatteryCurrentNow"}, "[-11]", 585, 591},
             {150022, "BatteryFullChargedCapacity", {"getPsyBatteryFcc"}, "[-11]", 604, 610},
             {150025, "BatteryPassedChg", {"getPsyBatteryPchg"}, "[-11]", 662, 668},
             {150026, "BatteryPchgResetCount", {"getPsyBatteryPchgResetCount"}, "[-11]", 681, 687},
             {150030, "BatteryTemperature", {"getPsyBatteryTemp"}, "[0, -1100]", 921, 927, "[0, 0]"},
             {150138,
              "BatteryCapacityLossRatio",
              {"getPsyBatteryFcc"},
              "[20, -11, 155]",
              1378,
              1384,
              "[20, 0, 100]"}});
    EXPECT_EQ(factory.reads().size(), 1 + 2 * 3u) << "only a call that succeeds has the node read";
}

/** The line that is written at every level. */
std::string levels(const std::string& real, const std::string& ui) {
    return "D PullAtomCallback handleBatteryLevel handler for realLevel = " + real +
           ", uiLevel = " + ui;
}

TEST_F(BatteryAtomsTest, carryTheirNodes) {
    constexpr char kReal[] = "battery_level";
    constexpr char kUi[] = "battery_ui_level";
    constexpr char kPower[] = "remaining_battery_power";
    expectRows({{150005, {{kReal, "80\n"}, {kUi, "082"}}, {levels("80", "82"), "[80, 82, -2, 2]"}},
                {150005, {{kReal, "90"}, {kUi, "85"}}, {levels("90", "85"), "[90, 85, 5, 5]"}},
                {150005, {{kReal, "-1"}, {kUi, ""}}, {levels("-1", "-1"), "[-1, -1, 0, 0]"}},
                {150005, {{kReal, "0"}, {kUi, "1"}}, {levels("0", "1"), "[0, 1, -1, 1]"}},
                {150005, {{kReal, "80"}}, {kRefused, levels("80", "-1"), "[80, -1, 81, 81]"}},
                {150005, {{kUi, "80"}}, {kRefused, levels("-1", "80"), "[-1, 80, -81, 81]"}},
                {150005,
                 {{kReal, "2147483647"}, {kUi, "-1"}},
                 {levels("2147483647", "-1"), "[2147483647, -1, -2147483648, -2147483648]"}},
                {150006, {{"battery_dod", "0x10"}}, {"[0]"}},
                {150006, {}, {kRefused, "[-1]"}},
                {150167, {{"gauge_car_c", "-1250"}}, {"[-1250]"}},
                {150167, {}, {kRefused, "[-1]"}},
                {150123, {{kPower, "04123\n"}}, {"[4123]"}},
                {150123, {{kPower, "-1"}}, {"[-1]"}},
                {150123, {{kPower, "n/a"}}, {"[0]"}},
                {150123, {{kPower, ""}}, {emptyNode(kPower)}}});
}

TEST_F(BatteryAtomsTest, temperatureIsRoundedLopsidedly) {
    const std::pair<int32_t, const char*> rows[] = {
            {305, "[31, 30500]"}, {25, "[3, 2500]"},    {24, "[2, 2400]"},    {5, "[1, 500]"},
            {4, "[0, 400]"},      {0, "[0, 0]"},        {-5, "[0, -500]"},    {-13, "[0, -1300]"},
            {-14, "[-1, -1400]"}, {-26, "[-2, -2600]"}, {-27, "[-2, -2700]"}, {-36, "[-3, -3600]"}};
    for (const auto& [tenths, event] : rows) {
        charger.set("getPsyBatteryTemp", tenths);
        EXPECT_THAT(pull(150030), ElementsAre(event)) << tenths;
    }
    // Results wrap at 32 bits.
    charger.set("getPsyBatteryTemp", INT32_MAX);
    EXPECT_THAT(pull(150030), ElementsAre("[-214748364, -100]"));
    charger.set("getPsyBatteryTemp", INT32_MIN);
    EXPECT_THAT(pull(150030), ElementsAre("[-214748364, 0]"));
}

TEST_F(BatteryAtomsTest, capacityLossIsATruncatedPercentage) {
    constexpr char kTypical[] = "battery_typical_capacity";
    const std::string warning = "W0 handleBatteryCapacityLossRatio line ";
    const std::string zero = warning + "1395, batteryTypicalCapacity = 0";
    const std::tuple<int32_t, const char*, Transcript> rows[] = {
            {4500, "05000", {"[5000, 4500, 10]"}},
            {5100, "5000\n", {"[5000, 5100, -2]"}},
            {4999, "5000", {"[5000, 4999, 1]"}},
            {-50, "5000", {"[5000, -50, 101]"}},
            {4500, "-5000", {"[-5000, 4500, 190]"}},
            {4500, "0", {zero}},
            {4500, "abc", {zero}},
            {4500,
             "",
             {emptyNode(kTypical), warning + "1390, String batteryTypicalCapacity is empty"}},
            // 100 times the capacity wraps, here to INT_MIN, whose negation overflows.
            {INT32_MAX, "1", {"[1, 2147483647, 200]"}},
            {-1610612736, "-1", {"[-1, -1610612736, -2147483548]"}}};
    for (const auto& [full, typical, expected] : rows) {
        charger.set("getPsyBatteryFcc", full);
        set({{kTypical, typical}});
        expectPulls(150138, expected);
    }
}

}  // namespace
}  // namespace zstats
