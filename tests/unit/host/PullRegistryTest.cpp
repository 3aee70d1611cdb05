#include <gtest/gtest.h>
#include <stats_pull_atom_callback.h>

#include <functional>
#include <thread>

#include "host/inprocess/InProcessBinder.h"
#include "host/stats/PullRegistry.h"
#include "tests/support/FakeStatsd.h"

namespace zstats {
namespace {

using Strings = std::vector<std::string>;

AStatsManager_PullAtomCallbackReturn answerNothing(int32_t, AStatsEventList*, void*) {
    return AStatsManager_PULL_SUCCESS;
}

void registerTag(int32_t tag) {
    AStatsManager_setPullAtomCallback(tag, nullptr, answerNothing, nullptr);
}

class PullRegistryTest : public testing::Test {
  protected:
    void SetUp() override { startStatsd(); }

    void TearDown() override {
        for (int32_t tag = 0; tag < 100; ++tag) AStatsManager_clearPullAtomCallback(tag);
        PullRegistry::instance().join();
        mRemote->die();
        inprocess::reset();
    }

    void startStatsd() {
        mStatsd = new FakeStatsd;
        mRemote = inprocess::publish("stats", mStatsd);
    }

    /** A death with statsd back before anyone looks. */
    void restartStatsd() {
        const std::shared_ptr<inprocess::RemoteService> old = mRemote;
        startStatsd();
        old->die();
    }

    /** Waits until statsd has served all that was asked of the library. */
    void settle() {
        PullRegistry::instance().join();
        mRemote->drainOneway();
    }

    std::string pull(int32_t tag, size_t maxBytes = 1 << 20) {
        settle();
        return mStatsd->answerOf(tag, maxBytes);
    }

    android::sp<FakeStatsd> mStatsd;
    std::shared_ptr<inprocess::RemoteService> mRemote;
};

TEST_F(PullRegistryTest, registersInOrderWithoutMakingTheCallerWait) {
    mRemote->block();
    for (int32_t tag : {30, 10, 20}) registerTag(tag);
    AStatsManager_clearPullAtomCallback(10);
    mRemote->unblock();
    EXPECT_EQ(mStatsd->waitForRequests(4), (Strings{"+30", "+10", "+20", "-10"}));
}

TEST_F(PullRegistryTest, sendsMetadataInMillisecondsAsItWasWhenSet) {
    AStatsManager_PullAtomMetadata* metadata = AStatsManager_PullAtomMetadata_obtain();
    AStatsManager_setPullAtomCallback(1, metadata, answerNothing, nullptr);
    int32_t fields[] = {3, 5};
    AStatsManager_PullAtomMetadata_setCoolDownMillis(metadata, -7);
    AStatsManager_PullAtomMetadata_setTimeoutMillis(metadata, INT64_C(1) << 40);
    AStatsManager_PullAtomMetadata_setAdditiveFields(metadata, fields, 2);
    AStatsManager_setPullAtomCallback(2, metadata, answerNothing, nullptr);
    AStatsManager_PullAtomMetadata_setAdditiveFields(metadata, nullptr, 0);
    EXPECT_EQ(AStatsManager_PullAtomMetadata_getNumAdditiveFields(metadata), 0);
    AStatsManager_PullAtomMetadata_release(metadata);
    registerTag(3);
    const std::vector<Registration> got = mStatsd->waitForRegistrations(3);
    ASSERT_EQ(got.size(), 3u);
    for (size_t i : {0, 2}) {
        EXPECT_EQ(got[i].coolDownMillis, 1000);
        EXPECT_EQ(got[i].timeoutMillis, 1500);
        EXPECT_TRUE(got[i].additiveFields.empty());
    }
    EXPECT_EQ(got[1].coolDownMillis, -7);
    EXPECT_EQ(got[1].timeoutMillis, INT64_C(1) << 40);
    EXPECT_EQ(got[1].additiveFields, (std::vector<int32_t>{3, 5}));
}

/** Answers with one built event and one that nobody built; the cookie holds the verdict. */
AStatsManager_PullAtomCallbackReturn answerTwo(int32_t tag, AStatsEventList* data, void* cookie) {
    for (int32_t value : {1, 2}) {
        AStatsEvent* event = AStatsEventList_addStatsEvent(data);
        AStatsEvent_setAtomId(event, static_cast<uint32_t>(tag));
        AStatsEvent_writeInt32(event, value);
        if (value == 1) AStatsEvent_build(event);
    }
    return *static_cast<int32_t*>(cookie);
}

TEST_F(PullRegistryTest, answersWithEveryEventAndTheVerdictOrWithAFailureThatGoesThrough) {
    const std::tuple<int32_t, size_t, const char*> rows[] = {
            {AStatsManager_PULL_SUCCESS, 1 << 20, "7 success [1] unbuilt[2]"},
            {AStatsManager_PULL_SKIP, 1 << 20, "7 failure [1] unbuilt[2]"},
            {-1, 1 << 20, "7 failure [1] unbuilt[2]"},
            {AStatsManager_PULL_SUCCESS, 42, "7 success [1] unbuilt[2]"},
            {AStatsManager_PULL_SUCCESS, 41, "7 failure"}};
    for (auto [verdict, maxBytes, answer] : rows) {
        AStatsManager_setPullAtomCallback(7, nullptr, answerTwo, &verdict);
        EXPECT_EQ(pull(7, maxBytes), answer);
    }
}

TEST_F(PullRegistryTest, registersAllAgainInAscendingOrderWhenStatsdReturns) {
    int32_t verdict = AStatsManager_PULL_SUCCESS;
    for (int32_t tag : {30, 10, 20, 15}) registerTag(tag);
    AStatsManager_clearPullAtomCallback(15);
    // The last registration of a tag wins, now and later.
    AStatsManager_setPullAtomCallback(20, nullptr, answerTwo, &verdict);
    EXPECT_EQ(mStatsd->waitForRequests(6).size(), 6u);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(pull(20), "20 success [1] unbuilt[2]");
        restartStatsd();
        EXPECT_EQ(mStatsd->waitForRequests(3), (Strings{"+10", "+20", "+30"}));
    }
}

TEST_F(PullRegistryTest, keepsRegistrationsThatFoundNoStatsd) {
    registerTag(30);
    EXPECT_EQ(mStatsd->waitForRequests(1), Strings{"+30"});
    mRemote->die();
    registerTag(10);
    PullRegistry::instance().join();
    startStatsd();
    // Nothing tells the library that statsd is back; the next registration finds it.
    registerTag(20);
    settle();
    EXPECT_EQ(mStatsd->waitForRequests(1), Strings{"+20"});
    restartStatsd();
    EXPECT_EQ(mStatsd->waitForRequests(3), (Strings{"+10", "+20", "+30"}));
}

/** A statsd that dies while it is asked for its descriptor; another is there at once. */
class DyingStatsd : public android::BBinder {
  public:
    explicit DyingStatsd(std::function<void()> die) : mDie(std::move(die)) {}

    const android::String16& getInterfaceDescriptor() const override {
        mDie();
        return mDescriptor;
    }

  private:
    const std::function<void()> mDie;
    const android::String16 mDescriptor{"android.os.IStatsd"};
};

TEST_F(PullRegistryTest, looksUpAStatsdThatDiesMeanwhileOnlyOnce) {
    mRemote->die();
    std::shared_ptr<inprocess::RemoteService> dying;
    dying = inprocess::publish("stats", new DyingStatsd([&] {
                                   startStatsd();
                                   dying->die();
                               }));
    registerTag(10);
    settle();
    registerTag(20);
    settle();
    EXPECT_EQ(mStatsd->waitForRequests(1), Strings{"+20"});
}

TEST_F(PullRegistryTest, keepsTheRegistrationsThatSeveralThreadsMake) {
    std::vector<std::thread> threads;
    for (int32_t first : {0, 1, 2}) {
        threads.emplace_back([first] {
            for (int32_t tag = first; tag < 60; tag += 3) {
                registerTag(tag);
                if (tag % 2 != 0) AStatsManager_clearPullAtomCallback(tag);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    settle();
    restartStatsd();
    Strings expected;
    for (int32_t tag = 0; tag < 60; tag += 2) expected.push_back("+" + std::to_string(tag));
    EXPECT_EQ(mStatsd->waitForRequests(expected.size()), expected);
}

}  // namespace
}  // namespace zstats
