#include <gtest/gtest.h>

#include "cli/statsctl/WatchView.h"

namespace zstats::cli {
namespace {

using Lines = std::vector<std::string>;

constexpr int64_t kSecond = 1'000'000'000;

class WatchViewTest : public testing::Test {
  protected:
    void SetUp() override {
        for (int second = 1; second <= 61; ++second) {
            mView.add({{150010, second * kSecond, 0, {4000 + second / 2}}}, 100'000);
        }
        mView.add({{150121, 62 * kSecond, 0, {0, int64_t{25'000}}},
                   {150121, 62 * kSecond, 0, {1, int64_t{50'000}}}},
                  100'000);
    }

    WatchView mView;
};

TEST_F(WatchViewTest, leavesOutWhatANarrowPageHasNoRoomFor) {
    const struct {
        size_t width;
        Lines page;
    } kCases[] = {
            {80,
             {"field                               value unit       in 60 s  graph",
              "battery_voltage_now voltage          4030 mV             +30  ▁▂▂▃▃▃▄▄▅▅▅▆▆▆▇▇██",
              "cpu_idle idle_time, cpu 0           25000 ms               0  #####.............",
              "cpu_idle idle_time, cpu 1           50000 ms               0  #########........."}},
            {62,
             {"field                               value unit       in 60 s",
              "battery_voltage_now voltage          4030 mV             +30",
              "cpu_idle idle_time, cpu 0           25000 ms               0",
              "cpu_idle idle_time, cpu 1           50000 ms               0"}},
            {40,
             {"field                       value unit", "…oltage_now voltage          4030 mV",
              "…e idle_time, cpu 0         25000 ms", "…e idle_time, cpu 1         50000 ms"}},
    };
    for (const auto& item : kCases) EXPECT_EQ(mView.page(item.width, 24), item.page);
}

TEST_F(WatchViewTest, saysHowManyLinesALowPageHasNoRoomFor) {
    EXPECT_EQ(mView.page(62, 3),
              (Lines{"field                               value unit       in 60 s",
                     "battery_voltage_now voltage          4030 mV             +30",
                     "2 more fields; name the atoms that you want to see"}));
    EXPECT_EQ(mView.page(62, 1),
              Lines{"field                               value unit       in 60 s"});
}

TEST_F(WatchViewTest, hasNewsOfWhatChangedAndOfPushedAtoms) {
    mView.add({{150010, 63 * kSecond, 0, {4030}},
               {150121, 63 * kSecond, 0, {0, int64_t{26'000}}},
               {100207, 63 * kSecond, 0, {7, 1, 2, 3, std::string("x")}}},
              100'000);
    const std::string pushed = "kestrel_fatal_data  type 7, pe 1, lnr 2, bnr 3, info x";
    EXPECT_EQ(mView.news(), (Lines{"63.000  cpu_idle idle_time, cpu 0  26000 ms", pushed}));
    EXPECT_EQ(mView.page(62, 24).back(), pushed);
}

}  // namespace
}  // namespace zstats::cli
