#include "tests/support/AtomTest.h"

namespace zstats {
namespace {

using ChargerReadTest = AtomTest;

TEST_F(ChargerReadTest, carriesWhatItsCallsAnswer) {
    const std::vector<std::string> state = {"getPsyChargeTech", "getPsyFastChgType"};
    const std::vector<std::string> input = {"getPsyInputCurrent", "getUsbInputCurrentNow"};
    const struct {
        int32_t tag;
        std::string handler;
        std::vector<std::string> methods;
        const char* event;  // when each method answers 11
        int noServiceLine, callFailedLine;

        std::string warning(int line, const std::string& text) const {
            return "W0 handle" + handler + " line " + std::to_string(line) + ", " + text;
        }
    } rows[] = {
            {150008, "BatteryHealth", {"getUIsohValue"}, "[11]", 528, 534},
            {150009, "BatteryCycleCount", {"getPsyBatteryCC"}, "[11]", 547, 553},
            {150010, "BatteryVoltageNow", {"getBatteryVoltageNow"}, "[11]", 566, 572},
            {150011, "BatteryCurrentNow", {"getPsyBatteryCurrentNow"}, "[11]", 585, 591},
            {150022, "BatteryFullChargedCapacity", {"getPsyBatteryFcc"}, "[11]", 604, 610},
            {150025, "BatteryPassedChg", {"getPsyBatteryPchg"}, "[11]", 662, 668},
            {150026, "BatteryPchgResetCount", {"getPsyBatteryPchgResetCount"}, "[11]", 681, 687},
            {150030, "BatteryTemperature", {"getPsyBatteryTemp"}, "[1, 1100]", 921, 927},
            {150138, "BatteryCapacityLossRatio", {"getPsyBatteryFcc"}, "[20, 11, 45]", 1378, 1384},
            {150007, "ChargeState", state, "[11, 11]", 503, 513},
            {150023, "UsbInputCurrentNow", input, "[11]", 623, 631},
    };
    set({{"battery_typical_capacity", "20"}});
    for (const auto& row : rows) {
        expectPulls(row.tag, {"E pullerd:  Get charger service fromBinder fail",
                              row.warning(row.noServiceLine, "getIChargeService return false")});
    }
    FakeCharger charger;
    charger.publishLocal();  // the object itself, so that values arrive beside error statuses
    std::vector<std::string> calls;
    for (const auto& row : rows) {
        std::string all;
        const auto expectCalls = [&](const std::string& answer) {
            expectPulls(row.tag, {answer});
            // All are made in their order, also behind one that fails, in each of three pulls.
            for (int i = 0; i < 3; ++i) {
                calls.insert(calls.end(), row.methods.begin(), row.methods.end());
            }
        };
        for (const std::string& method : row.methods) {
            charger.set(method, 11);
            all += method + " ";
        }
        expectCalls(row.event);
        for (const std::string& method : row.methods) {
            charger.fail(method);
            expectCalls(row.warning(row.callFailedLine, all + "failed"));
            charger.set(method, 11);
        }
    }
    EXPECT_EQ(charger.calls(), calls);
}

}  // namespace
}  // namespace zstats
