#include <atomic>
#include <thread>

#include "tests/support/AtomTest.h"

namespace zstats {
namespace {

class ConcurrentPullsTest : public AtomTest {
  protected:
    /** The answers of 100 pulls by 4 threads at once, without log lines. */
    std::vector<Transcript> pullAtOnce(int32_t tag) {
        ZStatsPullAtomCallback fresh;
        std::vector<AStatsEventList> lists(100);
        std::atomic<size_t> next = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (size_t at; (at = next++) < lists.size();) pullInto(&lists[at], fresh, tag);
            });
        }
        for (std::thread& thread : threads) thread.join();
        std::vector<Transcript> answers;
        for (const AStatsEventList& list : lists) answers.push_back(textsOf(list, tag));
        return answers;
    }
};

// Each pull reports the millisecond since the previous reading: none is lost or reported twice, and
// none is negative because of a late older reading.
TEST_F(ConcurrentPullsTest, ofOneTagLoseNoTime) {
    useQcom();
    set({{"gpu_freq_table_qual", "680"}});
    std::vector<std::string> residencies;
    std::vector<std::string> times = {"0"};
    for (int i = 1; i <= 100; ++i) {
        residencies.push_back("Freq: 2133 Mhz Time(msec):" + std::to_string(i));
        times.push_back(std::to_string(i));
    }
    factory.setSeries("power_ddr_residency", residencies);
    factory.setSeries("gpu_freq_time_qual", times);
    EXPECT_EQ(pullAtOnce(150029), std::vector<Transcript>(100, {"[680000, 1L]"}));
    EXPECT_EQ(pullAtOnce(150027), std::vector<Transcript>(100, {"[2133, 1L]"}));
}

TEST_F(ConcurrentPullsTest, goOnWhileServicesComeAndGo) {
    FakeCharger charger;
    FakeCalda calda;
    FakeTouch touch;
    charger.set("getPsyBatteryFcc", 4500);
    calda.set(FakeCalda::kShell, {4, 4, 1, 2, 3, 4});
    touch.setText("5");
    set({{"battery_dod", "7"}});
    std::atomic<bool> done = false;
    std::vector<std::thread> pullers;
    for (const auto& [tag, event] : {std::pair(150022, "[4500]"),
                                     {150006, "[7]"},
                                     {150006, "[7]"},
                                     {150129, "[2, 3, 4]"},
                                     {150131, "[5]"},
                                     {150131, "[5]"}}) {
        pullers.emplace_back([&, tag = tag, event = event] {
            do {
                AStatsEventList list;
                pullInto(&list, callback, tag);
                EXPECT_THAT(textsOf(list, tag),
                            testing::AnyOf(IsEmpty(), ElementsAre(event), ElementsAre("[-1]")));
            } while (!done);
        });
    }
    for (int i = 0; i < 20; ++i) {
        // Connected and linked, so that both clients get the death notices.
        EXPECT_NE(callback.getIChargeService(), nullptr);
        EXPECT_NE(callback.getValueByHandleKey("battery_dod"), -1);
        for (PublishedFake* fake :
             std::initializer_list<PublishedFake*>{&charger, &calda, &factory}) {
            fake->remote().die();
            fake->publish();
        }
    }
    done = true;
    for (std::thread& puller : pullers) puller.join();
}

}  // namespace
}  // namespace zstats
