#include <map>

#include "tests/support/FakeVendorServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using Nodes = std::map<std::string, std::string>;
using Fields = std::vector<int32_t>;  // empty: no event

/** A handler that reads nodes. */
struct NodeCase {
    const char* name;
    int32_t tag;
    Nodes nodes;
    Fields fields;
    const char* hardware = "qcom";
};

constexpr char kAc[] = "power_supply_ac_online";
constexpr char kUsb[] = "power_supply_usb_online";
constexpr char kPort[] = "power_supply_pc_port_online";
constexpr char kLevel[] = "battery_level";
constexpr char kUiLevel[] = "battery_ui_level";
constexpr char kQcom0[] = "panel0_brightness_level_qcom";
constexpr char kQcom1[] = "panel1_brightness_level_qcom";
constexpr char kMtk0[] = "panel0_brightness_level_mtk";
constexpr char kMtk1[] = "panel1_brightness_level_mtk";

const NodeCase kNodeCases[] = {
        {"level", 150005, {{kLevel, "80\n"}, {kUiLevel, "82\n"}}, {80, 82, -2, 2}},
        {"levelAboveUi", 150005, {{kLevel, "90"}, {kUiLevel, "85"}}, {90, 85, 5, 5}},
        {"levelWithoutUi", 150005, {{kLevel, "80"}}, {80, -1, 81, 81}},
        {"levelWithoutReal", 150005, {{kUiLevel, "80"}}, {-1, 80, -81, 81}},
        {"levelMissing", 150005, {}, {-1, -1, 0, 0}},
        {"levelWraps",
         150005,
         {{kLevel, "2147483647"}, {kUiLevel, "-1"}},
         {INT32_MAX, -1, INT32_MIN, INT32_MIN}},
        {"dod", 150006, {{"battery_dod", "37\n"}}, {37}},
        {"dodEmpty", 150006, {{"battery_dod", ""}}, {-1}},
        {"gauge", 150167, {{"gauge_car_c", "-1250"}}, {-1250}},
        {"gaugeMissing", 150167, {}, {-1}},
        {"power", 150123, {{"remaining_battery_power", "4123\n"}}, {4123}},
        {"powerNoNumber", 150123, {{"remaining_battery_power", "n/a"}}, {0}},
        {"powerEmpty", 150123, {{"remaining_battery_power", ""}}, {}},
        {"powerMissing", 150123, {}, {}},
        {"usbVoltage", 150024, {{"usb_input_voltage", "8950000\n"}}, {8950000}},
        {"usbVoltageMissing", 150024, {}, {-1}},
        {"onlineUsb", 150124, {{kAc, "0"}, {kUsb, "1\n"}, {kPort, "0"}}, {1}},
        {"onlineAsItIs", 150124, {{kAc, "2"}, {kUsb, "1"}, {kPort, "0"}}, {3}},
        {"onlineTwice", 150124, {{kAc, "1"}, {kUsb, "1"}}, {1}},
        {"onlinePortAlone", 150124, {{kAc, ""}, {kPort, "4"}}, {4}},
        {"onlineMissing", 150124, {}, {0}},
        {"screensDim", 150125, {{kQcom0, "0"}, {kQcom1, "1"}}, {0, 0}},
        {"screenLit", 150125, {{kQcom0, "2\n"}, {kQcom1, "0"}}, {1, 0}},
        {"screenNegative", 150125, {{kQcom0, "-5"}, {kQcom1, "4095"}}, {0, 1}},
        {"screensMissing", 150125, {}, {0, 0}},
        {"screenMtk", 150125, {{kMtk0, "9"}, {kQcom0, "0"}, {kQcom1, "7"}}, {1, 0}, "mt6989"},
        {"backlights", 150133, {{kQcom0, "1"}, {kQcom1, "2047\n"}}, {1, 2047}},
        {"backlightsMtk", 150133, {{kMtk0, "300"}, {kMtk1, "x"}, {kQcom0, "8"}}, {300, 0}, ""},
        {"backlightsMissing", 150133, {}, {0, 0}},
        {"deviceInformation", 150015, {{"devinfo_lcd", "boe"}}, {}},
        {"rgbHistogram", 150014, {}, {}},
};

class NodeAtomTest : public HandlerTest, public ::testing::WithParamInterface<NodeCase> {};

TEST_P(NodeAtomTest, carriesItsNodes) {
    const NodeCase& row = GetParam();
    __system_property_set("ro.hardware", row.hardware);
    FakeHandleFactory factory;
    for (const auto& [key, text] : row.nodes) factory.set(key, text);
    EXPECT_EQ(pull(row.tag), row.fields);
    for (const auto& read : factory.reads()) EXPECT_EQ(read.second, 0) << read.first;
}

INSTANTIATE_TEST_SUITE_P(Rows, NodeAtomTest, ::testing::ValuesIn(kNodeCases),
                         [](const auto& info) { return info.param.name; });

TEST_F(NodeAtomTest, withoutTheServiceFallBacksAreWritten) {
    const std::pair<int32_t, Fields> rows[] = {
            {150005, {-1, -1, 0, 0}},
            {150006, {-1}},
            {150167, {-1}},
            {150123, {}},
            {150024, {-1}},
            {150124, {0}},
            {150125, {0, 0}},
            {150133, {0, 0}},
            {150015, {}},
            {150014, {}},
    };
    for (const auto& [tag, fields] : rows) EXPECT_EQ(pull(tag), fields) << tag;
}

TEST_F(NodeAtomTest, levelsAreLoggedAtEveryLevel) {
    FakeHandleFactory factory;
    factory.set("battery_level", "80");
    factory.set("battery_ui_level", "82");
    pull(150005);
    takeLines();
    for (const int32_t level : {-1, 0, 1}) {
        gLogLevel = level;
        pull(150005);
        EXPECT_THAT(takeLines(), ElementsAre("D PullAtomCallback handleBatteryLevel handler for "
                                             "realLevel = 80, uiLevel = 82"));
    }
}

TEST_F(NodeAtomTest, readsNodesInTheirOrder) {
    FakeHandleFactory factory;
    __system_property_set("ro.hardware", "qcom");
    pull(150005);
    pull(150124);
    pull(150125);
    EXPECT_THAT(factory.reads(),
                ElementsAre(Pair(kLevel, 0), Pair(kUiLevel, 0), Pair(kAc, 0), Pair(kUsb, 0),
                            Pair(kPort, 0), Pair(kQcom0, 0), Pair(kQcom1, 0)));
}

TEST_F(NodeAtomTest, thePanelsDescriptionIsReadForTheLogAlone) {
    gLogLevel = 2;
    FakeHandleFactory factory;
    factory.set("devinfo_lcd", "boe");
    callback.getValueByHandleKey("connect");
    takeLines();
    callback.handleDisplayDeviceInformation(150015, nullptr);
    EXPECT_THAT(takeLines(), ElementsAre("D PullAtomCallback getContentByHandleKey read nodeKey: "
                                         "devinfo_lcd, result = boe"));
    callback.handleDisplayRGBHistogram(150014, nullptr);
    EXPECT_THAT(takeLines(), IsEmpty());
}

}  // namespace
}  // namespace zstats
