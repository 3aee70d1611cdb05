#include <atomic>
#include <thread>

#include "tests/support/FakeVendorServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int32_t kValue = 4321;
constexpr char kConnectFailed[] = "E pullerd:  Get charger service fromBinder fail";

/** A handler that asks the charger; the fields are those for kValue from each of its calls. */
struct ChargerCase {
    int32_t tag;
    const char* handler;
    std::vector<std::string> methods;
    std::vector<int32_t> fields;
    int noServiceLine;
    int callFailedLine;

    std::string noService() const { return line(noServiceLine, "getIChargeService return false"); }
    std::string callFailed() const {
        std::string text;
        for (const std::string& method : methods) text += method + " ";
        return line(callFailedLine, text + "failed");
    }

  private:
    std::string line(int number, const std::string& text) const {
        return std::string("W ") + handler + " line " + std::to_string(number) + ", " + text;
    }
};

const ChargerCase kChargerCases[] = {
        {150007,
         "handleChargeState",
         {"getPsyChargeTech", "getPsyFastChgType"},
         {kValue, kValue},
         503,
         513},
        {150008, "handleBatteryHealth", {"getUIsohValue"}, {kValue}, 528, 534},
        {150009, "handleBatteryCycleCount", {"getPsyBatteryCC"}, {kValue}, 547, 553},
        {150010, "handleBatteryVoltageNow", {"getBatteryVoltageNow"}, {kValue}, 566, 572},
        {150011, "handleBatteryCurrentNow", {"getPsyBatteryCurrentNow"}, {kValue}, 585, 591},
        {150022, "handleBatteryFullChargedCapacity", {"getPsyBatteryFcc"}, {kValue}, 604, 610},
        {150023,
         "handleUsbInputCurrentNow",
         {"getPsyInputCurrent", "getUsbInputCurrentNow"},
         {kValue},
         623,
         631},
        {150025, "handleBatteryPassedChg", {"getPsyBatteryPchg"}, {kValue}, 662, 668},
        {150026, "handleBatteryPchgResetCount", {"getPsyBatteryPchgResetCount"}, {kValue}, 681, 687},
        {150030, "handleBatteryTemperature", {"getPsyBatteryTemp"}, {432, 432100}, 921, 927},
        {150138,
         "handleBatteryCapacityLossRatio",
         {"getPsyBatteryFcc"},
         {5000, kValue, 14},
         1378,
         1384},
};

/** The charger answers every call of the row; the typical capacity is 5000. */
class ChargerAtomTest : public HandlerTest, public ::testing::WithParamInterface<ChargerCase> {
  protected:
    ChargerAtomTest() {
        factory.set("battery_typical_capacity", "5000\n");
        callback.getValueByHandleKey("battery_typical_capacity");
        for (const std::string& method : row.methods) charger.set(method, kValue);
        takeLines();
    }

    const ChargerCase& row = GetParam();
    FakeHandleFactory factory;
    FakeCharger charger;
};

TEST_P(ChargerAtomTest, carriesWhatTheChargerAnswers) {
    EXPECT_EQ(pull(row.tag), row.fields);
    EXPECT_EQ(charger.calls(), row.methods);
    EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_P(ChargerAtomTest, isAbsentWithoutTheService) {
    inprocess::withdraw(FakeCharger::kName);
    for (const int32_t level : {0, 1, 2}) {
        gLogLevel = level;
        EXPECT_THAT(pull(row.tag), IsEmpty());
        EXPECT_THAT(takeLines(), ElementsAre(kConnectFailed, row.noService()));
    }
    gLogLevel = -1;
    EXPECT_THAT(pull(row.tag), IsEmpty());
    EXPECT_THAT(takeLines(), ElementsAre(kConnectFailed));
}

TEST_P(ChargerAtomTest, isAbsentWhenAnyCallFailsThoughAllAreMade) {
    for (const std::string& method : row.methods) {
        charger.fail(method);
        EXPECT_THAT(pull(row.tag), IsEmpty()) << method;
        EXPECT_THAT(takeLines(), ElementsAre(row.callFailed())) << method;
        charger.set(method, kValue);
    }
    EXPECT_EQ(charger.calls().size(), row.methods.size() * row.methods.size());
    gLogLevel = -1;
    charger.remote().failCalls(android::PERMISSION_DENIED);
    EXPECT_THAT(pull(row.tag), IsEmpty());
    EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_P(ChargerAtomTest, doesNotBelieveAValueBesideAnErrorStatus) {
    charger.publishLocal();
    EXPECT_EQ(pull(row.tag), row.fields);
    charger.fail(row.methods.back());
    EXPECT_THAT(pull(row.tag), IsEmpty());
    EXPECT_THAT(takeLines(), ElementsAre(row.callFailed()));
}

TEST_P(ChargerAtomTest, comesBackWithTheService) {
    EXPECT_EQ(pull(row.tag), row.fields);
    charger.remote().die();
    EXPECT_THAT(pull(row.tag), IsEmpty());
    EXPECT_THAT(takeLines(), ElementsAre("E charger service died, will try to reconnect.",
                                         kConnectFailed, row.noService()));
    charger.publish();
    EXPECT_EQ(pull(row.tag), row.fields);
    EXPECT_THAT(takeLines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Handlers, ChargerAtomTest, ::testing::ValuesIn(kChargerCases),
                         [](const auto& info) { return info.param.handler; });

struct ChargerArithmeticTest : HandlerTest {
    FakeHandleFactory factory;
    FakeCharger charger;
};

TEST_F(ChargerArithmeticTest, roundsTenthsOfADegreeLopsidedly) {
    const std::vector<int32_t> rows[] = {
            {305, 31, 30500},
            {25, 3, 2500},
            {24, 2, 2400},
            {4, 0, 400},
            {5, 1, 500},
            {0, 0, 0},
            {-5, 0, -500},
            {-14, -1, -1400},
            {-24, -2, -2400},
            {-25, -2, -2500},
            {-26, -2, -2600},
            {-27, -2, -2700},
            {-36, -3, -3600},
            {INT32_MAX, -214748364, -100},
            {INT32_MIN, -214748364, 0}  // products wrap
    };
    for (const auto& row : rows) {
        charger.set("getPsyBatteryTemp", row[0]);
        EXPECT_THAT(pull(150030), ElementsAre(row[1], row[2])) << row[0];
    }
}

TEST_F(ChargerArithmeticTest, capacityLossInTruncatedPercent) {
    const struct {
        int32_t fcc;
        const char* typical;
        std::vector<int32_t> fields;
    } rows[] = {
            {4500, "5000", {5000, 4500, 10}},
            {5100, "5000\n", {5000, 5100, -2}},
            {4999, "5000", {5000, 4999, 1}},
            {0, "5000", {5000, 0, 100}},
            {-50, "5000", {5000, -50, 101}},
            {4500, "-5000", {-5000, 4500, 190}},
            // fcc * 100 wraps, here to the least int, which has no negative.
            {INT32_MAX, "1", {1, INT32_MAX, 200}},
            {-1610612736, "-1", {-1, -1610612736, INT32_MIN + 100}},
    };
    for (const auto& row : rows) {
        charger.set("getPsyBatteryFcc", row.fcc);
        factory.set("battery_typical_capacity", row.typical);
        EXPECT_EQ(pull(150138), row.fields) << row.fcc << " of " << row.typical;
    }
}

TEST_F(ChargerArithmeticTest, capacityLossNeedsATypicalCapacity) {
    constexpr char kEmptyNode[] =
            "E PullAtomCallback getContentByHandleKey read nodeKey: battery_typical_capacity, "
            "len=0";
    constexpr char kEmptyText[] =
            "W handleBatteryCapacityLossRatio line 1390, String batteryTypicalCapacity is empty";
    constexpr char kZero[] =
            "W handleBatteryCapacityLossRatio line 1395, batteryTypicalCapacity = 0";
    charger.set("getPsyBatteryFcc", 4500);
    callback.getValueByHandleKey("connect");
    const std::pair<const char*, std::vector<std::string>> rows[] = {
            {"", {kEmptyNode, kEmptyText}}, {"0", {kZero}}, {"abc", {kZero}}, {" \n", {kZero}}};
    for (const auto& [typical, lines] : rows) {
        factory.set("battery_typical_capacity", typical);
        takeLines();
        EXPECT_THAT(pull(150138), IsEmpty()) << '"' << typical << '"';
        EXPECT_EQ(takeLines(), lines) << '"' << typical << '"';
        gLogLevel = -1;
        pull(150138);
        EXPECT_EQ(takeLines().size(), lines.size() - 1) << '"' << typical << '"';
        gLogLevel = 1;
    }
}

TEST_F(ChargerArithmeticTest, prefersTheChargersOwnInputCurrent) {
    const std::vector<int32_t> rows[] = {
            {900, 1500, 900}, {0, 1500, 1500}, {-1, 1500, -1}, {0, 0, 0}};
    for (const auto& row : rows) {
        charger.set("getPsyInputCurrent", row[0]);
        charger.set("getUsbInputCurrentNow", row[1]);
        EXPECT_THAT(pull(150023), ElementsAre(row[2]));
    }
    charger.set("getPsyChargeTech", 3);
    charger.set("getPsyFastChgType", 8);
    EXPECT_THAT(pull(150007), ElementsAre(3, 8));
}

TEST_F(ChargerArithmeticTest, pullsGoOnWhileBothServicesComeAndGo) {
    charger.set("getPsyBatteryFcc", 4500);
    factory.set("battery_typical_capacity", "5000");
    factory.set("battery_dod", "7");
    std::atomic<bool> done = false;
    std::vector<std::thread> pullers;
    const std::pair<int32_t, std::vector<int32_t>> atoms[] = {
            {150022, {4500}}, {150138, {5000, 4500, 10}}, {150006, {7}}};
    for (const auto& [tag, fields] : atoms) {
        pullers.emplace_back([&, tag = tag, &fields = fields] {
            do {
                const auto pulled = pull(tag);
                EXPECT_TRUE(pulled == fields || pulled.empty() || pulled == std::vector{-1});
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
    EXPECT_THAT(pull(150138), ElementsAre(5000, 4500, 10));
}

}  // namespace
}  // namespace zstats
