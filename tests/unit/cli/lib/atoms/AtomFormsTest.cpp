#include <android-base/strings.h>
#include <gtest/gtest.h>

#include "cli/lib/atoms/AtomCsv.h"
#include "cli/lib/atoms/AtomJson.h"
#include "cli/lib/atoms/AtomText.h"

namespace zstats::cli {
namespace {

TEST(AtomCsvTest, writesACellForEachField) {
    EXPECT_EQ("elapsed_ns,time,real_level,ui_level,difference,absolute_difference",
              csvHeading(150005));
    EXPECT_EQ("elapsed_ns,time", csvHeading(150999));
    const struct {
        int32_t id;
        std::multimap<int, AtomValue> fields;
        int64_t wallNs;
        const char* cells;
    } kCases[] = {{150005, {{1, 80}, {2, 82}, {3, -2}, {4, 2}}, 0, "7,,80,82,-2,2"},
                  {150005,
                   {{2, 82}, {6, true}},
                   1'000'000'000,
                   "7,1970-01-01T00:00:01.000000000Z,,82,,,,true"},
                  {150005, {}, 0, "7,,,,,"},
                  {150999, {{1, std::string("a b")}, {2, 1.5f}}, 0, "7,,a b,1.5"},
                  {150999, {{1, std::string("a,b")}}, 0, "7,,\"a,b\""},
                  {150999, {{1, std::string("a\"b")}}, 0, "7,,\"a\"\"b\""},
                  {150999, {{1, std::string("a\nb\r")}}, 0, "7,,\"a\nb\r\""},
                  {150999, {{1, int64_t{1}}, {1, int64_t{2}}}, 0, "7,,1;2"}};
    for (const auto& row : kCases) {
        RecordedEvent event;
        event.id = row.id;
        event.fields = row.fields;
        event.elapsedNs = 7;
        event.wallNs = row.wallNs;
        EXPECT_EQ(row.cells, csvRow(event));
    }
}

TEST(AtomJsonTest, writesValuesThatReadBackEqual) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const struct {
        AtomValue value;
        const char* text;
        const char* type;
    } kCases[] = {{0.1f, "0.1", "float"},
                  {-0.0f, "-0", "float"},
                  {16777216.0f, "16777216", "float"},
                  {1e20f, "1e+20", "float"},
                  {std::numeric_limits<float>::max(), "3.4028235e+38", "float"},
                  {kInfinity, "null", "float"},
                  {std::numeric_limits<float>::quiet_NaN(), "null", "float"},
                  {false, "false", "bool"},
                  {-1, "-1", "int32"},
                  {std::numeric_limits<int64_t>::min(), "-9223372036854775808", "int64"},
                  {std::string("a\"b"), R"("a\"b")", "string"}};
    for (const auto& [value, text, type] : kCases) {
        // Fields that the catalogue lacks are named by their position.
        EXPECT_EQ(jsonEvent(7, {true, value}),
                  std::string(R"({"atom":7,"name":"unknown","fields":[true,)") + text +
                          R"(],"names":["field_1","field_2"],"types":["bool",")" + type + "\"]}");
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
            {"alone \x80z", "\"alone \\ufffdz\""}};
    for (const auto& item : kCases) EXPECT_EQ(jsonString(item.text), item.quoted);
}

constexpr int64_t kUptimeMs = 10'000;

PulledEvent event(std::vector<AtomValue> fields) {
    return {true, std::move(fields)};
}

TEST(AtomTextTest, writesWhatAPullBroughtOrThatThereIsNothing) {
    const std::string text("text");
    const std::string gpu = "150029  gpu_freq_time_info              ";
    const std::string perFrequency = ", one for each GPU frequency, since the pull before";
    std::vector<AtomValue> record(9, 12345678);
    record[0] = std::string("com.norda.camera");
    const struct {
        PulledAtom atom;
        std::vector<std::string> lines;
    } kCases[] = {
            {{150030, "", {event({31, 30500})}},
             {"150030  battery_temperature             degrees 31 °C, milli_degrees 30500 m°C"}},
            {{150014, "", {}},
             {"150014  display_rgb_histogram           no event (this atom never has one)"}},
            {{150112, "", {}}, {"150112  audio_pa_power                  no event"}},
            {{150112, "no answer within 2000 ms", {}},
             {"150112  audio_pa_power                  FAILED: no answer within 2000 ms"}},
            // Residencies: of the time of all events, and of the uptime.
            {{150029,
              "",
              {event({160000, int64_t{300}}), event({680000, int64_t{100}}),
               event({900000, int64_t{-5}})}},
             {gpu + "3 events" + perFrequency, "           frequency  time",
              "          160000 kHz   300  ##################......   75.0 % of the time",
              "          680000 kHz   100  ######..................   25.0 % of the time",
              "          900000 kHz    -5  ........................    0.0 % of the time"}},
            {{150121, "", {event({0, int64_t{2500}}), event({1, int64_t{20'000}})}},
             {"150121  cpu_idle                        2 events, one for each CPU",
              "          cpu  idle_time",
              "            0    2500 ms  ######..................   25.0 % of the uptime",
              "            1   20000 ms  ########################  200.0 % of the uptime"}},
            // Events that differ from the catalogue.
            {{150121, "", {event({}), event({1, int64_t{5}, 7})}},
             {"150121  cpu_idle                        2 events, one for each CPU", "        - ",
              "        - cpu 1, idle_time 5 ms, field_3 7"}},
            {{150029, "", {event({text, text})}},
             {gpu + "1 event" + perFrequency, "          frequency  time",
              "          text kHz   text  ........................    0.0 % of the time"}},
            // Events with many fields are printed as pairs, in lines that fit.
            {{150136, "", {event(record), {false, {std::string("half")}}}},
             {"150136  uah_dataset                     2 events, one for each usage record",
              "        - column_1 com.norda.camera, column_2 12345678, column_3 12345678, "
              "column_4 12345678, column_5 12345678,",
              "          column_6 12345678, column_7 12345678, column_8 12345678, "
              "column_9 12345678",
              "        - (left unbuilt: statsd drops it), column_1 half"}}};
    for (const auto& item : kCases) {
        EXPECT_EQ(atomText(item.atom, kUptimeMs), android::base::Join(item.lines, "\n") + "\n");
    }
}

}  // namespace
}  // namespace zstats::cli
