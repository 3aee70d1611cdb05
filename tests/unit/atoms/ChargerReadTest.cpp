#include "tests/support/AtomTest.h"

namespace zstats {
namespace {

/** An atom that asks the charger: its calls, and its event when each answers 11. */
struct ChargerRow {
    int32_t tag;
    std::string handler;
    std::vector<std::string> methods;
    const char* event;
    int noServiceLine;
    int callFailedLine;

    std::string warning(int line, const std::string& text) const {
        return "W0 " + handler + " line " + std::to_string(line) + ", " + text;
    }
};

const std::vector<std::string> kInputs = {"getPsyInputCurrent", "getUsbInputCurrentNow"};
const ChargerRow kRows[] = {
        {150008, "handleBatteryHealth", {"getUIsohValue"}, "[11]", 528, 534},
        {150009, "handleBatteryCycleCount", {"getPsyBatteryCC"}, "[11]", 547, 553},
        {150010, "handleBatteryVoltageNow", {"getBatteryVoltageNow"}, "[11]", 566, 572},
        {150011, "handleBatteryCurrentNow", {"getPsyBatteryCurrentNow"}, "[11]", 585, 591},
        {150022, "handleBatteryFullChargedCapacity", {"getPsyBatteryFcc"}, "[11]", 604, 610},
        {150025, "handleBatteryPassedChg", {"getPsyBatteryPchg"}, "[11]", 662, 668},
        {150026, "handleBatteryPchgResetCount", {"getPsyBatteryPchgResetCount"}, "[11]", 681, 687},
        {150030, "handleBatteryTemperature", {"getPsyBatteryTemp"}, "[1, 1100]", 921, 927},
        {150138, "handleBatteryCapacityLossRatio", {"getPsyBatteryFcc"}, "[20, 11, 45]", 1378, 1384},
        {150007, "handleChargeState", {"getPsyChargeTech", "getPsyFastChgType"}, "[11, 11]", 503, 513},
        {150023, "handleUsbInputCurrentNow", kInputs, "[11]", 623, 631},
};

class ChargerReadTest : public AtomTest, public testing::WithParamInterface<ChargerRow> {};

TEST_P(ChargerReadTest, carriesWhatItsCallsAnswer) {
    const ChargerRow& row = GetParam();
    set({{"battery_typical_capacity", "20"}});
    expectPulls(row.tag, {"E pullerd:  Get charger service fromBinder fail",
                          row.warning(row.noServiceLine, "getIChargeService return false")});

    FakeCharger charger;
    charger.publishLocal();  // the object itself, so that values arrive beside error statuses
    std::string methods;
    for (const std::string& method : row.methods) {
        charger.set(method, 11);
        methods += method + " ";
    }
    expectPulls(row.tag, {row.event});
    for (const std::string& method : row.methods) {
        charger.fail(method);
        expectPulls(row.tag, {row.warning(row.callFailedLine, methods + "failed")});
        charger.set(method, 11);
    }
    // All are called in their order, also behind one that fails.
    const auto called = charger.calls();
    EXPECT_EQ(called.size(), 3 * row.methods.size() * (1 + row.methods.size()));
    for (size_t i = 0; i < called.size(); ++i) {
        EXPECT_EQ(called[i], row.methods[i % row.methods.size()]);
    }
}

INSTANTIATE_TEST_SUITE_P(Atoms, ChargerReadTest, testing::ValuesIn(kRows),
                         [](const auto& info) { return info.param.handler; });

}  // namespace
}  // namespace zstats
