#include <aidl/vendor/norda/hardware/handlefactory/BnHandleFactory.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "host/stats/EventList.h"
#include "tests/support/FakeVendorServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

constexpr int kThreads = 4;
constexpr int kPullsOfAThread = 25;

/**
 * A handle factory whose counters stand 1 higher at each read. The answer takes its time on the
 * way, so that of two reads at once either may arrive first.
 */
class CountingFactory : public PublishedFake {
    struct Service : aidl::vendor::norda::hardware::handlefactory::BnHandleFactory {
        ndk::ScopedAStatus readHandle(
                const std::string& key, int32_t,
                aidl::vendor::norda::hardware::handlefactory::HandleResult* out) override {
            if (key == "gpu_freq_table_qual") {
                out->content = "680\n";
                return ndk::ScopedAStatus::ok();
            }
            const int reading = ++readings;
            out->content = key == "gpu_freq_time_qual"
                                   ? std::to_string(reading) + "\n"
                                   : "Freq: 2133 Mhz Time(msec):" + std::to_string(reading) + " \n";
            std::this_thread::sleep_for(std::chrono::microseconds(reading % 3 * 100));
            return ndk::ScopedAStatus::ok();
        }

        std::atomic<int> readings{0};
    };

  public:
    CountingFactory()
          : PublishedFake(FakeHandleFactory::kName,
                          ndk::SharedRefBase::make<Service>()->asBinder()) {}
    ~CountingFactory() { remote().die(); }
};

class ConcurrentPullsTest : public HandlerTest {
  protected:
    ConcurrentPullsTest() { __system_property_set("ro.hardware", "qcom"); }

    /** The second field of every event of `tag` that a number of threads pull at once. */
    static std::vector<int64_t> pullAtOnce(ZStatsPullAtomCallback& callback, int32_t tag) {
        std::vector<AStatsEventList> lists(kThreads * kPullsOfAThread);
        std::vector<std::thread> threads;
        for (size_t first = 0; first < lists.size(); first += kPullsOfAThread) {
            threads.emplace_back([&, first] {
                for (size_t i = 0; i < kPullsOfAThread; ++i) {
                    pullInto(&lists[first + i], callback, tag);
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
        std::vector<int64_t> times;
        for (const AStatsEventList& list : lists) {
            for (const Event& event : eventsOf(list)) {
                times.push_back(std::get<int64_t>(event.fields.at(1)));
            }
        }
        return times;
    }

    const std::vector<int64_t> mOneEach = std::vector<int64_t>(kThreads * kPullsOfAThread, 1);
};

// Each pull tells the one millisecond since the reading before: none is lost, none is told twice,
// and none is negative because an older reading came in late.
TEST_F(ConcurrentPullsTest, ofTheDdrResidencyLoseNoTime) {
    const CountingFactory factory;
    EXPECT_EQ(pullAtOnce(callback, 150027), mOneEach);
}

TEST_F(ConcurrentPullsTest, ofTheGpuResidencyLoseNoTime) {
    const CountingFactory factory;
    ZStatsPullAtomCallback withGpu;
    EXPECT_EQ(pullAtOnce(withGpu, 150029), mOneEach);
}

}  // namespace
}  // namespace zstats
