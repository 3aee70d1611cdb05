#include <gtest/gtest.h>

#include <sstream>

#include "vdevice/lib/atoms/AtomText.h"

namespace zstats::vdevice {
namespace {

using Lines = std::vector<std::string>;

constexpr int64_t kUptimeMs = 10'000;

PulledEvent event(std::vector<AtomValue> fields) {
    return {true, std::move(fields)};
}

Lines linesOf(const PulledAtom& atom) {
    Lines lines;
    std::istringstream stream(atomText(atom, kUptimeMs));
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

TEST(AtomTextTest, writesWhatAPullBroughtOrThatThereIsNothing) {
    const std::string text("text");
    const std::string gpu = "150029  gpu_freq_time_info              ";
    const std::string perFrequency = ", one for each GPU frequency, since the pull before";
    const struct {
        PulledAtom atom;
        Lines lines;
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
            // Events that the catalogue does not expect.
            {{150121, "", {event({}), event({1, int64_t{5}, 7})}},
             {"150121  cpu_idle                        2 events, one for each CPU", "        - ",
              "        - cpu 1, idle_time 5 ms, field_3 7"}},
            {{150029, "", {event({text, text})}},
             {gpu + "1 event" + perFrequency, "          frequency  time",
              "          text kHz   text  ........................    0.0 % of the time"}},
    };
    for (const auto& item : kCases) EXPECT_EQ(linesOf(item.atom), item.lines);
    EXPECT_EQ(eventText(1, {true}), "field_1 true");
}

TEST(AtomTextTest, writesWideEventsOutAndKeepsLinesShort) {
    std::vector<AtomValue> record(17, 1234567);
    record[0] = std::string("com.norda.camera");
    const Lines lines = linesOf({150136, "", {event(record), {false, {std::string("half")}}}});
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines[1].substr(0, 36), "        - column_1 com.norda.camera,");
    for (const std::string& line : lines) EXPECT_LE(line.size(), kTextWidth) << line;
    EXPECT_EQ(lines.back(), "        - (left unbuilt: statsd drops it), column_1 half");
}

}  // namespace
}  // namespace zstats::vdevice
