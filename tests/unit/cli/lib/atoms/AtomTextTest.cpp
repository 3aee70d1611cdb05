#include <android-base/strings.h>
#include <gtest/gtest.h>

#include "cli/lib/atoms/AtomText.h"

namespace zstats::cli {
namespace {

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
              "        - (left unbuilt: statsd drops it), column_1 half"}},
    };
    for (const auto& item : kCases) {
        EXPECT_EQ(atomText(item.atom, kUptimeMs), android::base::Join(item.lines, "\n") + "\n");
    }
}

}  // namespace
}  // namespace zstats::cli
