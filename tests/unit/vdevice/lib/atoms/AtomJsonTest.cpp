#include <gtest/gtest.h>

#include <limits>

#include "vdevice/lib/atoms/AtomJson.h"
#include "vdevice/lib/atoms/PulledAtom.h"

namespace zstats::vdevice {
namespace {

TEST(AtomJsonTest, writesAnEventWithNamesAndTypes) {
    const struct {
        int32_t id;
        std::vector<AtomValue> fields;
        std::string text;
    } kCases[] = {
            {150005,
             {80, 82, -2, 2},
             R"("battery_level","fields":[80,82,-2,2],"names":["real_level","ui_level",)"
             R"("difference","absolute_difference"],"types":["int32","int32","int32","int32"]})"},
            {150027,
             {2133, int64_t{543}},
             R"("ddr_freq_time_information","fields":[2133,543],"names":["frequency","time"],)"
             R"("types":["int32","int64"]})"},
            // What the catalogue lacks goes by its place.
            {7,
             {0.5f, true},
             R"("unknown","fields":[0.5,true],"names":["field_1","field_2"],)"
             R"("types":["float","bool"]})"},
    };
    for (const auto& item : kCases) {
        EXPECT_EQ(jsonEvent(item.id, item.fields),
                  "{\"atom\":" + std::to_string(item.id) + ",\"name\":" + item.text);
    }
}

TEST(AtomJsonTest, writesValuesThatReadBackEqual) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const struct {
        AtomValue value;
        const char* text;
    } kCases[] = {{0.1f, "0.1"},
                  {-0.0f, "-0"},
                  {16777216.0f, "16777216"},
                  {1e20f, "1e+20"},
                  {std::numeric_limits<float>::max(), "3.4028235e+38"},
                  {kInfinity, "null"},
                  {std::numeric_limits<float>::quiet_NaN(), "null"},
                  {false, "false"},
                  {std::numeric_limits<int64_t>::min(), "-9223372036854775808"},
                  {std::string("a\"b"), "\"a\\\"b\""}};
    for (const auto& item : kCases) {
        const std::string line = jsonEvent(1, {item.value});
        EXPECT_NE(line.find("\"fields\":[" + std::string(item.text) + "]"), std::string::npos)
                << line;
    }
}

TEST(AtomJsonTest, keepsEveryStringValid) {
    const struct {
        std::string text;
        const char* quoted;
    } kCases[] = {
            {"", "\"\""},
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

TEST(PulledAtomJsonTest, saysWhatBecameOfThePull) {
    const struct {
        PulledAtom atom;
        std::vector<std::string> lines;
    } kCases[] = {
            {{150014, "", {}}, {R"({"atom":150014,"name":"display_rgb_histogram","events":0})"}},
            {{150006, "no \"answer\"", {}},
             {R"({"atom":150006,"name":"battery_dod","failed":"no \"answer\""})"}},
            {{150136, "", {{true, {std::string("a")}}, {false, {}}}},
             {R"({"atom":150136,"name":"uah_dataset","fields":["a"],"names":["column_1"],)"
              R"("types":["string"]})",
              R"({"atom":150136,"name":"uah_dataset","unbuilt":true})"}},
    };
    for (const auto& item : kCases) EXPECT_EQ(jsonLines(item.atom), item.lines);
}

}  // namespace
}  // namespace zstats::vdevice
