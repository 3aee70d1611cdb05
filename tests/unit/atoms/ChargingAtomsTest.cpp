#include "tests/support/ChargerRows.h"

namespace zstats {
namespace {

using ChargingAtomsTest = ChargerRowsTest;

TEST_F(ChargingAtomsTest, carryTheirNodes) {
    constexpr char kAc[] = "power_supply_ac_online";
    constexpr char kUsb[] = "power_supply_usb_online";
    constexpr char kPort[] = "power_supply_pc_port_online";
    expectRows({{150024, {{"usb_input_voltage", "08950000\n"}}, {"[8950000]"}},
                {150024, {{"usb_input_voltage", "0"}}, {"[0]"}},
                {150024, {}, {kRefused, "[-1]"}},
                {150124, {{kAc, "0"}, {kUsb, "1\n"}, {kPort, "0x1"}}, {"[1]"}},
                {150124, {{kAc, "2"}, {kUsb, "1"}, {kPort, "010"}}, {"[11]"}},
                {150124, {{kAc, "1"}, {kUsb, "1"}, {kPort, "1"}}, {"[1]"}},
                {150124,
                 {{kAc, ""}, {kUsb, ""}, {kPort, "-1"}},
                 {emptyNode(kAc), emptyNode(kUsb), "[-1]"}},
                {150124,
                 {},
                 {kRefused, emptyNode(kAc), kRefused, emptyNode(kUsb), kRefused, emptyNode(kPort),
                  "[0]"}}});
}

TEST_F(ChargingAtomsTest, carryWhatTheirCallsAnswer) {
    const std::vector<std::string> state = {"getPsyChargeTech", "getPsyFastChgType"};
    const std::vector<std::string> input = {"getPsyInputCurrent", "getUsbInputCurrentNow"};
    expectChargerRows({{150007, "ChargeState", state, "[-11, -10]", 503, 513, "[0, 0]"},
                       {150023, "UsbInputCurrentNow", input, "[-11]", 623, 631}});
}

TEST_F(ChargingAtomsTest, inputCurrentIsTheChargersOwnUnlessItIsZero) {
    FakeCharger charger;
    charger.publishLocal();  // out values keep the caller's initial value
    const std::tuple<std::optional<int32_t>, int32_t, const char*> rows[] = {
            {900, 1500, "[900]"}, {0, 1500, "[1500]"}, {-1, 1500, "[-1]"},
            {1, 2, "[1]"},        {0, 0, "[0]"},       {std::nullopt, 3, "[3]"}};
    for (const auto& [own, usb, event] : rows) {
        charger.set("getPsyInputCurrent", own);
        charger.set("getUsbInputCurrentNow", usb);
        EXPECT_THAT(pull(150023), ElementsAre(event)) << event;
    }
    charger.set("getPsyChargeTech", 5);
    charger.set("getPsyFastChgType", std::nullopt);
    EXPECT_THAT(pull(150007), ElementsAre("[5, 0]"));
}

}  // namespace
}  // namespace zstats
