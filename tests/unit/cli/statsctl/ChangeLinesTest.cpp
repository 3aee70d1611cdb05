#include <gtest/gtest.h>

#include "cli/statsctl/ChangeLines.h"

namespace zstats::cli {
namespace {

using Lines = std::vector<std::string>;

TEST(ChangeLinesTest, tellWhatChangedAndPushedAtoms) {
    ChangeLines changes;
    EXPECT_EQ(changes.add({{150010, 62'000'000'000, 0, {4030}},
                           {150121, 62'000'000'000, 0, {0, int64_t{25'000}}}}),
              (Lines{"62.000  battery_voltage_now voltage  4030 mV",
                     "62.000  cpu_idle idle_time, cpu 0  25000 ms"}));
    EXPECT_EQ(changes.add({{150010, 63'000'000'000, 0, {4030}},
                           {150121, 63'000'000'000, 0, {0, int64_t{26'000}}},
                           {100207, 63'000'000'000, 0, {7, 1, 2, 3, std::string("x")}}}),
              (Lines{"63.000  cpu_idle idle_time, cpu 0  26000 ms",
                     "kestrel_fatal_data  type 7, pe 1, lnr 2, bnr 3, info x"}));
}

}  // namespace
}  // namespace zstats::cli
