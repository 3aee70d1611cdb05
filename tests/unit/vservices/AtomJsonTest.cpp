#include <gtest/gtest.h>

#include <limits>

#include "vdevice/common/AtomJson.h"
#include "vdevice/common/PulledAtom.h"

namespace zstats::vdevice {
namespace {

TEST(AtomJson, canWriteAnEventWithNamesAndTypes) {
    EXPECT_EQ(jsonEvent(150005, {80, 82, -2, 2}),
              "{\"atom\":150005,\"name\":\"battery_level\",\"fields\":[80,82,-2,2],"
              "\"names\":[\"real_level\",\"ui_level\",\"difference\",\"absolute_difference\"],"
              "\"types\":[\"int32\",\"int32\",\"int32\",\"int32\"]}");
    EXPECT_EQ(jsonEvent(150027, {2133, int64_t{543}}),
              "{\"atom\":150027,\"name\":\"ddr_freq_time_information\",\"fields\":[2133,543],"
              "\"names\":[\"frequency\",\"time\"],\"types\":[\"int32\",\"int64\"]}");
}

TEST(AtomJson, namesFieldsBeyondTheCatalogueByTheirPlace) {
    EXPECT_EQ(jsonEvent(150006, {1, true}),
              "{\"atom\":150006,\"name\":\"battery_dod\",\"fields\":[1,true],"
              "\"names\":[\"depth_of_discharge\",\"field_2\"],\"types\":[\"int32\",\"bool\"]}");
    EXPECT_EQ(jsonEvent(7, {0.5f}),
              "{\"atom\":7,\"name\":\"unknown\",\"fields\":[0.5],"
              "\"names\":[\"field_1\"],\"types\":[\"float\"]}");
}

TEST(AtomJson, writesValuesThatReadBackEqual) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const struct {
        AtomValue value;
        const char* text;
    } kCases[] = {
            {0.1f, "0.1"},
            {1.25f, "1.25"},
            {-0.0f, "-0"},
            {16777216.0f, "16777216"},
            {1e20f, "1e+20"},
            {std::numeric_limits<float>::max(), "3.4028235e+38"},
            {kInfinity, "null"},
            {-kInfinity, "null"},
            {std::numeric_limits<float>::quiet_NaN(), "null"},
            {std::numeric_limits<int64_t>::min(), "-9223372036854775808"},
            {true, "true"},
            {false, "false"},
            {std::string("a\"b"), "\"a\\\"b\""},
    };
    for (const auto& item : kCases) {
        const std::string line = jsonEvent(1, {item.value});
        EXPECT_NE(line.find("\"fields\":[" + std::string(item.text) + "]"), std::string::npos)
                << line;
    }
}

TEST(AtomJson, keepsEveryStringValid) {
    const struct {
        std::string text;
        const char* quoted;
    } kCases[] = {
            {"", "\"\""},
            {"plain", "\"plain\""},
            {"back\\slash", "\"back\\\\slash\""},
            {"line\nreturn\rtab\t", "\"line\\nreturn\\rtab\\t\""},
            {std::string("nul\0", 4), "\"nul\\u0000\""},
            {"\x1f\x7f", "\"\\u001f\x7f\""},
            {"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80", "\"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\""},
            {"cut \xe2\x82", "\"cut \\ufffd\\ufffd\""},
            {"overlong \xc0\xaf", "\"overlong \\ufffd\\ufffd\""},
            {"surrogate \xed\xa0\x80", "\"surrogate \\ufffd\\ufffd\\ufffd\""},
            {"beyond \xf4\x90\x80\x80", "\"beyond \\ufffd\\ufffd\\ufffd\\ufffd\""},
            {"alone \x80z", "\"alone \\ufffdz\""},
    };
    for (const auto& item : kCases) EXPECT_EQ(jsonString(item.text), item.quoted);
}

TEST(PulledAtomJson, saysWhatBecameOfThePull) {
    using Lines = std::vector<std::string>;
    const PulledAtom none{150014, "", {}};
    EXPECT_EQ(jsonLines(none),
              Lines{"{\"atom\":150014,\"name\":\"display_rgb_histogram\",\"events\":0}"});
    const PulledAtom failed{150006, "no \"answer\"", {}};
    EXPECT_EQ(jsonLines(failed),
              Lines{"{\"atom\":150006,\"name\":\"battery_dod\",\"failed\":\"no \\\"answer\\\"\"}"});
    const PulledAtom broken{150136, "", {{true, {std::string("a")}}, {false, {}}}};
    const Lines lines = jsonLines(broken);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0],
              "{\"atom\":150136,\"name\":\"uah_dataset\",\"fields\":[\"a\"],"
              "\"names\":[\"column_1\"],\"types\":[\"string\"]}");
    EXPECT_EQ(lines[1], "{\"atom\":150136,\"name\":\"uah_dataset\",\"unbuilt\":true}");
}

}  // namespace
}  // namespace zstats::vdevice
