#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "tests/unit/vdevice/system/statsd/FakePuller.h"
#include "vdevice/system/statsd/PullerManager.h"
#include "vdevice/system/statsd/Subscription.h"

namespace zstats::vdevice {
namespace {

using namespace cli;

constexpr int32_t kTag = 150005;

class PullerManagerTest : public testing::Test {
  protected:
    std::shared_ptr<FakePuller> add(int32_t uid, int32_t tag, PullTerms terms = {0, 2000, {}}) {
        auto puller = ndk::SharedRefBase::make<FakePuller>();
        mManager.add(uid, tag, std::move(terms), puller);
        return puller;
    }

    std::string pull(const std::vector<int32_t>& uids) {
        return text(mManager.pull(uids, kTag, mTime++));
    }

    /** "OK n" for the answer to the n-th pull, or the failure; "=" precedes a cached one. */
    static std::string text(const PullResult& result) {
        std::string text = result.fromCache ? "=" : "";
        if (!result.success) return text + result.failure;
        text += "OK";
        for (const std::string& event : result.events) {
            const auto atom = streamedAtom(0, event).value_or(StreamedAtom());
            for (const AtomValue& value : atom.fields) text += " " + valueText(value);
        }
        return text;
    }

    PullerManager mManager;
    int64_t mTime = 1;
};

TEST_F(PullerManagerTest, asksTheFirstUserWhoHasAPuller) {
    EXPECT_EQ("no puller registered", pull({0, 1000}));
    const auto system = add(1000, kTag);
    add(0, kTag + 1);
    EXPECT_EQ("OK 1", pull({0, 1000}));
    EXPECT_EQ("no puller registered", pull({0, 1066}));
    const auto root = add(0, kTag);
    EXPECT_EQ("OK 1", pull({0, 1000}));
    EXPECT_EQ("=OK 1", text(mManager.pullFromAnyone(kTag)));
    EXPECT_EQ(1, root->pulls);
    EXPECT_EQ(1, system->pulls);
}

TEST_F(PullerManagerTest, boundsTermsAndListsByArrival) {
    add(1000, 3, {999, 10001, {}});
    add(0, 2, {1001, 9999, {}});
    add(0, 1);
    add(1000, 3, {-1, 10001, {}});
    mManager.remove(0, 1);
    std::string list;
    for (const RegisteredPuller& puller : mManager.list()) {
        list += std::to_string(puller.uid) + "/" + std::to_string(puller.tag) + ": " +
                std::to_string(puller.terms.coolDownMillis) + " " +
                std::to_string(puller.terms.timeoutMillis) + "; ";
    }
    EXPECT_EQ("0/2: 1001 9999; 1000/3: 1000 10000; ", list);
}

TEST_F(PullerManagerTest, repeatsTheLastResultWithinTheCoolDownAndForTheSameEvent) {
    const auto puller = add(0, kTag);
    EXPECT_EQ("OK 1", pull({0}));
    EXPECT_EQ("=OK 1", pull({0}));
    const int64_t event = mTime++;
    std::this_thread::sleep_for(std::chrono::milliseconds(1000));
    puller->success = false;
    EXPECT_EQ("the puller reported failure", text(mManager.pull({0}, kTag, event)));
    puller->success = true;
    EXPECT_EQ("=the puller reported failure", pull({0}));
    EXPECT_EQ(2, puller->pulls);
    EXPECT_EQ("OK 3", text(mManager.pullNow(kTag)));
    EXPECT_EQ("no puller registered", text(mManager.pullNow(kTag + 1)));
}

TEST_F(PullerManagerTest, dropsAnEventThatWasNeverBuilt) {
    const auto puller = add(0, kTag);
    puller->builds = false;
    for (int pulls = 0; pulls < 2; ++pulls) {
        const PullResult result = mManager.pull({0}, kTag, mTime++);
        EXPECT_TRUE(result.success);
        EXPECT_EQ(0U, result.events.size());
    }
    EXPECT_EQ(1U, mManager.pullNow(kTag).rejected.size());
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
        const auto wait = std::chrono::milliseconds(parallel ? 20000 : 100);
        EXPECT_EQ(parallel, second.wait_for(wait) == std::future_status::ready);
        EXPECT_EQ(parallel ? 1 : 0, quick->pulls);
        release.set_value();
        EXPECT_EQ("OK 1", text(first.get()));
        EXPECT_TRUE(second.get().success);
    }
}

TEST_F(PullerManagerTest, removesThePullerThatDiedAndNotTheNextOfTheRestartedProcess) {
    mManager.setParallel(true);
    const auto dying = add(0, kTag);
    dying->dies = true;
    dying->meanwhile = [&] { add(0, kTag); };
    EXPECT_EQ("the puller's process has died", pull({0}));
    EXPECT_EQ("OK 1", pull({0}));
}

}  // namespace
}  // namespace zstats::vdevice
