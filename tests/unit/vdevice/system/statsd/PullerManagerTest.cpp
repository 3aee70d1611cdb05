#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "tests/unit/vdevice/system/statsd/FakePuller.h"
#include "vdevice/system/statsd/ElapsedTime.h"
#include "vdevice/system/statsd/PullerManager.h"

namespace zstats::vdevice {
namespace {

constexpr int32_t kTag = 150005;
constexpr std::chrono::seconds kPatience(20);

class PullerManagerTest : public testing::Test {
  protected:
    std::shared_ptr<FakePuller> add(int32_t uid, int32_t tag, PullTerms terms = {0, 2000, {}}) {
        auto puller = ndk::SharedRefBase::make<FakePuller>();
        mManager.add(uid, tag, std::move(terms), puller);
        return puller;
    }

    PullResult pull(const std::vector<int32_t>& uids) { return mManager.pull(uids, kTag, mTime++); }

    /** "OK n" for the answer to the n-th pull, or why there is none; "=" before a cached one. */
    static std::string text(const PullResult& result) {
        std::string text = result.fromCache ? "=" : "";
        if (!result.success) return text + result.failure;
        for (int32_t number = 1; number < 10; ++number) {
            const std::string expected = eventBytes(kTag, number).substr(16);
            if (result.events.size() == 1 && result.events[0].substr(16) == expected) {
                return text + "OK " + std::to_string(number);
            }
        }
        return text + "other events";
    }

    PullerManager mManager;
    int64_t mTime = 1;
};

TEST_F(PullerManagerTest, asksTheFirstUserWhoHasAPuller) {
    EXPECT_EQ("no puller registered", text(pull({0, 1000})));
    const auto system = add(1000, kTag);
    add(0, kTag + 1);
    EXPECT_EQ("OK 1", text(pull({0, 1000})));
    EXPECT_EQ("no puller registered", text(pull({0, 1066})));
    const auto root = add(0, kTag);
    EXPECT_EQ("OK 1", text(pull({0, 1000})));
    EXPECT_EQ("=OK 1", text(mManager.pullFromAnyone(kTag)));
    EXPECT_EQ(1, root->pulls);
    EXPECT_EQ(1, system->pulls);
}

TEST_F(PullerManagerTest, boundsTermsAndListsByArrival) {
    add(1000, 3, {999, 10001, {4}});
    add(0, 2, {1001, 9999, {}});
    add(0, 1);
    add(1000, 3, {-1, -1, {}});
    mManager.remove(0, 1);
    const auto list = mManager.list();
    ASSERT_EQ(2u, list.size());
    EXPECT_EQ(2, list[0].tag);
    EXPECT_EQ(1001, list[0].terms.coolDownMillis);
    EXPECT_EQ(9999, list[0].terms.timeoutMillis);
    EXPECT_EQ(1000, list[1].uid);
    EXPECT_EQ(1000, list[1].terms.coolDownMillis);
    EXPECT_EQ(-1, list[1].terms.timeoutMillis);
    EXPECT_TRUE(list[1].alive);
}

TEST_F(PullerManagerTest, repeatsTheLastResultWithinTheCoolDownAndForTheSameEvent) {
    const auto puller = add(0, kTag);
    EXPECT_EQ("OK 1", text(pull({0})));
    EXPECT_EQ("=OK 1", text(pull({0})));
    const int64_t event = mTime++;
    std::this_thread::sleep_for(std::chrono::milliseconds(1000));
    puller->success = false;
    EXPECT_EQ("the puller reported failure", text(mManager.pull({0}, kTag, event)));
    puller->success = true;
    EXPECT_EQ("=the puller reported failure", text(pull({0})));
    EXPECT_EQ(2, puller->pulls);
}

TEST_F(PullerManagerTest, tellsWhyAPullFailedAndForgetsADeadPullerAlone) {
    const struct {
        binder_status_t status;
        bool answers;
        const char* first;
        const char* second;
    } rows[] = {
            {STATUS_OK, false, "no answer within 50 ms", "=no answer within 50 ms"},
            {STATUS_FAILED_TRANSACTION, true, "the call failed with status -2147483646",
             "=the call failed with status -2147483646"},
            {STATUS_DEAD_OBJECT, true, "the puller's process has died", "no puller registered"},
    };
    for (const auto& row : rows) {
        const auto puller = add(0, kTag, {0, 50, {}});
        puller->status = row.status;
        puller->answers = row.answers;
        EXPECT_EQ(row.first, text(pull({0})));
        EXPECT_EQ(row.second, text(pull({0})));
    }
    EXPECT_TRUE(mManager.list().empty());
}

TEST_F(PullerManagerTest, pullsOneAfterTheOtherUnlessAskedOtherwise) {
    for (const bool parallel : {false, true}) {
        mManager.setParallel(parallel);
        std::promise<void> asked;
        std::promise<void> release;
        const auto slow = add(0, kTag, {0, 10000, {}});
        const auto quick = add(0, kTag + 1);
        slow->meanwhile = [&, released = release.get_future().share()] {
            asked.set_value();
            released.wait();
        };
        auto first = std::async(std::launch::async, [&] { return mManager.pull({0}, kTag, 1); });
        asked.get_future().wait();
        auto second =
                std::async(std::launch::async, [&] { return mManager.pull({0}, kTag + 1, 1); });
        const auto wait = parallel ? kPatience : std::chrono::milliseconds(100);
        EXPECT_EQ(parallel, second.wait_for(wait) == std::future_status::ready);
        EXPECT_EQ(parallel ? 1 : 0, quick->pulls);
        release.set_value();
        EXPECT_EQ("OK 1", text(first.get()));
        EXPECT_TRUE(second.get().success);
    }
}

}  // namespace
}  // namespace zstats::vdevice
