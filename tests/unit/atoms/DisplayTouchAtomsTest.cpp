#include "atoms/DisplayTouchAtoms.h"
#include "tests/support/AtomTest.h"

namespace zstats {
namespace {

constexpr int32_t kTouchTag = 150131;
constexpr char kUnreadable[] = "D2 handleTouchRefreshRateLevel parse touchReadNodeFile failed";

using DisplayAtomsTest = AtomTest;

TEST_F(DisplayAtomsTest, carryThePanelsOfTheirPlatform) {
    constexpr char kQcom0[] = "panel0_brightness_level_qcom";
    constexpr char kQcom1[] = "panel1_brightness_level_qcom";
    constexpr char kMtk0[] = "panel0_brightness_level_mtk";
    constexpr char kMtk1[] = "panel1_brightness_level_mtk";
    const Transcript missing = {kRefused, emptyNode(kQcom0), kRefused, emptyNode(kQcom1), "[0, 0]"};
    expectRows({{150125, {{kQcom0, "0"}, {kQcom1, "1"}}, {"[0, 0]"}},
                {150125, {{kQcom0, "02\n"}, {kQcom1, "0x10"}}, {"[1, 0]"}},
                {150125, {{kQcom0, "-5"}, {kQcom1, "4095"}}, {"[0, 1]"}},
                {150125, {}, missing},
                {150125, {{kMtk0, "9"}, {kMtk1, "1"}}, {"[1, 0]"}, "mt6989"},
                {150133, {{kQcom0, "1"}, {kQcom1, "02047\n"}}, {"[1, 2047]"}},
                {150133, {{kQcom0, "-1"}, {kQcom1, "x"}}, {"[-1, 0]"}},
                {150133, {}, missing},
                {150133, {{kMtk0, "300"}, {kMtk1, ""}}, {emptyNode(kMtk1), "[300, 0]"}, ""},
                {150015, {{"devinfo_lcd", "boe"}}, {}},
                {150015, {}, {kRefused, emptyNode("devinfo_lcd")}},
                {150014, {}, {}}});
}

TEST_F(DisplayAtomsTest, needALevelOfEachPanel) {
    const auto append = [](auto* list) {
        appendPanels({5}, "handler", 150133, list, [](int32_t level) { return level; });
    };
    expectAtLevels({"D2 handler getScreenBrightness failed"},
                   [&] { return transcriptOf(150133, append); });
}

using TouchAtomTest = AtomTest;

TEST_F(TouchAtomTest, carriesTheNumberThatTheFirstWordBeginsWith) {
    expectPulls(kTouchTag, {"W0 handleTouchRefreshRateLevel getService failed"});
    FakeTouch touch;
    const std::pair<const char*, Transcript> rows[] = {
            {"3\n", {"[3]"}},
            {"12 7", {"[12]"}},
            {"  5", {"[5]"}},
            {"\t\n\v\f\r 8", {"[8]"}},
            {"120Hz", {"[120]"}},
            {"010", {"[10]"}},
            {"9", {"[9]"}},
            {"0x1f", {"[0]"}},
            {"2147483647", {"[2147483647]"}},
            {"4\u00e9", {"[4]"}},
            {"", {kUnreadable}},
            {" \n", {kUnreadable}},
            {"-1", {kUnreadable}},
            {"+1", {kUnreadable}},
            {"/1", {kUnreadable}},
            {":1", {kUnreadable}},
            {"\u0663", {kUnreadable}},
            {"2147483648", {kUnreadable}},
            {"99999999999Hz 60", {kUnreadable}},
            {"000000000002147483647Hz", {"[2147483647]"}}};
    for (const auto& [text, expected] : rows) {
        touch.setText(text);
        SCOPED_TRACE(text);
        expectPulls(kTouchTag, expected);
    }
}

}  // namespace
}  // namespace zstats
