#include <atomic>
#include <thread>

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

const ChargerRow kRows[] = {
        {150007, "handleChargeState", {"getPsyChargeTech", "getPsyFastChgType"}, "[11, 11]", 503, 513},
        {150008, "handleBatteryHealth", {"getUIsohValue"}, "[11]", 528, 534},
        {150009, "handleBatteryCycleCount", {"getPsyBatteryCC"}, "[11]", 547, 553},
        {150010, "handleBatteryVoltageNow", {"getBatteryVoltageNow"}, "[11]", 566, 572},
        {150011, "handleBatteryCurrentNow", {"getPsyBatteryCurrentNow"}, "[11]", 585, 591},
        {150022, "handleBatteryFullChargedCapacity", {"getPsyBatteryFcc"}, "[11]", 604, 610},
        {150023,
         "handleUsbInputCurrentNow",
         {"getPsyInputCurrent", "getUsbInputCurrentNow"},
         "[11]",
         623,
         631},
        {150025, "handleBatteryPassedChg", {"getPsyBatteryPchg"}, "[11]", 662, 668},
        {150026, "handleBatteryPchgResetCount", {"getPsyBatteryPchgResetCount"}, "[11]", 681, 687},
        {150030, "handleBatteryTemperature", {"getPsyBatteryTemp"}, "[1, 1100]", 921, 927},
        {150138, "handleBatteryCapacityLossRatio", {"getPsyBatteryFcc"}, "[20, 11, 45]", 1378, 1384},
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
    std::vector<std::string> calls = row.methods;
    for (const std::string& method : row.methods) {
        charger.fail(method);
        expectPulls(row.tag, {row.warning(row.callFailedLine, methods + "failed")});
        charger.set(method, 11);
        calls.insert(calls.end(), row.methods.begin(), row.methods.end());
    }
    // All are called in their order, also behind one that fails; three pulls each.
    std::vector<std::string> expected;
    for (size_t i = 0; i < calls.size() * 3; ++i) {
        expected.push_back(row.methods[i % row.methods.size()]);
    }
    EXPECT_EQ(charger.calls(), expected);
}

INSTANTIATE_TEST_SUITE_P(Atoms, ChargerReadTest, testing::ValuesIn(kRows),
                         [](const auto& info) { return info.param.handler; });

TEST_F(AtomTest, pullsGoOnWhileServicesComeAndGo) {
    FakeCharger charger;
    charger.set("getPsyBatteryFcc", 4500);
    set({{"battery_typical_capacity", "5000"}, {"battery_dod", "7"}});
    std::atomic<bool> done = false;
    std::vector<std::thread> pullers;
    const std::pair<int32_t, Transcript> atoms[] = {
            {150022, {"[4500]"}}, {150138, {"[5000, 4500, 10]"}}, {150006, {"[7]"}}};
    for (const auto& [tag, events] : atoms) {
        pullers.emplace_back([&, tag = tag, &events = events] {
            do {
                AStatsEventList list;
                pullInto(&list, callback, tag);
                const Transcript pulled = textsOf(list, tag);
                EXPECT_TRUE(pulled == events || pulled.empty() || pulled == Transcript{"[-1]"});
            } while (!done);
        });
    }
    for (int i = 0; i < 20; ++i) {
        // Connected and linked, so that both clients hear of the deaths.
        EXPECT_NE(callback.getIChargeService(), nullptr);
        EXPECT_NE(callback.getValueByHandleKey("battery_dod"), -1);
        charger.remote().die();
        factory.remote().die();
        charger.publish();
        factory.publish();
    }
    done = true;
    for (std::thread& puller : pullers) puller.join();
}

}  // namespace
}  // namespace zstats
