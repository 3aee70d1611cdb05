#include <aidl/android/os/BnPullAtomResultReceiver.h>
#include <gtest/gtest.h>
#include <stats_pull_atom_callback.h>

#include <functional>
#include <map>
#include <thread>

#include "host/stats/EventReader.h"
#include "host/stats/PullCallbackTable.h"
#include "tests/support/Guarded.h"
#include "tests/support/InProcessBinder.h"
#include "vdevice/system/statsd/StatsdBase.h"

namespace zstats {
namespace {

using Strings = std::vector<std::string>;

/** Accepts answers whose events have at most this many bytes in total. */
struct Receiver : aidl::android::os::BnPullAtomResultReceiver {
    explicit Receiver(size_t most) : maxBytes(most) {}

    ndk::ScopedAStatus pullFinished(
            int32_t tag, bool success,
            const std::vector<aidl::android::util::StatsEventParcel>& events) override {
        size_t size = 0;
        std::string text = std::to_string(tag) + (success ? " success" : " failure");
        for (const auto& [bytes] : events) {
            const auto event = readEvent(bytes.data(), bytes.size());
            size += bytes.size();
            text += event->built ? " [" : " unbuilt[";
            text += std::to_string(std::get<int32_t>(event->fields.at(0))) + "]";
        }
        if (size > maxBytes) return ndk::ScopedAStatus::fromStatus(STATUS_FAILED_TRANSACTION);
        answer += text;
        return ndk::ScopedAStatus::ok();
    }

    const size_t maxBytes;
    std::string answer;
};

/** A fake statsd that records each request as "+TAG" or "-TAG", and its terms. */
struct FakeStatsd : vdevice::StatsdBase {
    Status registerNativePullAtomCallback(
            int32_t tag, int64_t coolDownMillis, int64_t timeoutMillis,
            const std::vector<int32_t>& additiveFields,
            const std::shared_ptr<IPullAtomCallback>& callback) override {
        std::string text = std::to_string(coolDownMillis) + " " + std::to_string(timeoutMillis);
        for (const int32_t field : additiveFields) text += " " + std::to_string(field);
        terms.lock()->push_back(text);
        (*callbacks.lock())[tag] = callback;
        requests.lock()->push_back("+" + std::to_string(tag));
        return Status::ok();
    }
    Status unregisterNativePullAtomCallback(int32_t tag) override {
        requests.lock()->push_back("-" + std::to_string(tag));
        return Status::ok();
    }

    Guarded<Strings> requests;
    Guarded<Strings> terms;  // cool-down, time-out and additive fields of each registration
    Guarded<std::map<int32_t, std::shared_ptr<IPullAtomCallback>>> callbacks;
};

AStatsManager_PullAtomCallbackReturn answerNothing(int32_t, AStatsEventList*, void*) {
    return AStatsManager_PULL_SUCCESS;
}

void registerTag(int32_t tag) {
    AStatsManager_setPullAtomCallback(tag, nullptr, answerNothing, nullptr);
}

class PullCallbackTableTest : public testing::Test {
  protected:
    void SetUp() override { startStatsd(); }

    void TearDown() override {
        for (int32_t tag = 0; tag < 100; ++tag) AStatsManager_clearPullAtomCallback(tag);
        PullCallbackTable::instance().join();
        mRemote->die();
        inprocess::reset();
    }

    void startStatsd() {
        mStatsd = ndk::SharedRefBase::make<FakeStatsd>();
        mRemote = inprocess::publish("stats", mStatsd->asBinder());
    }

    /** A death, with statsd back before the library looks for it. */
    void restartStatsd() {
        const std::shared_ptr<inprocess::RemoteService> old = mRemote;
        startStatsd();
        old->die();
    }

    /** The requests to the latest statsd, once all have been served. */
    Strings requests() {
        PullCallbackTable::instance().join();
        mRemote->drainOneway();
        return mStatsd->requests.get();
    }

    /** The answer to a pull of a registered tag: the result, and the field of each event. */
    std::string pull(int32_t tag, size_t maxBytes = 1 << 20) {
        requests();
        const auto receiver = ndk::SharedRefBase::make<Receiver>(maxBytes);
        mStatsd->callbacks.get().at(tag)->onPullAtom(tag, receiver);
        return receiver->answer;
    }

    std::shared_ptr<FakeStatsd> mStatsd;
    std::shared_ptr<inprocess::RemoteService> mRemote;
};

TEST_F(PullCallbackTableTest, registersInOrderWithoutMakingTheCallerWait) {
    mRemote->block();
    for (int32_t tag : {30, 10, 20}) registerTag(tag);
    AStatsManager_clearPullAtomCallback(10);
    mRemote->unblock();
    EXPECT_EQ(requests(), (Strings{"+30", "+10", "+20", "-10"}));
}

TEST_F(PullCallbackTableTest, sendsMetadataInMillisecondsAsItWasWhenSet) {
    AStatsManager_PullAtomMetadata* metadata = AStatsManager_PullAtomMetadata_obtain();
    AStatsManager_setPullAtomCallback(1, metadata, answerNothing, nullptr);
    int32_t fields[] = {3, 5};
    AStatsManager_PullAtomMetadata_setCoolDownMillis(metadata, -7);
    AStatsManager_PullAtomMetadata_setTimeoutMillis(metadata, INT64_C(1) << 40);
    AStatsManager_PullAtomMetadata_setAdditiveFields(metadata, fields, 2);
    AStatsManager_setPullAtomCallback(2, metadata, answerNothing, nullptr);
    AStatsManager_PullAtomMetadata_setAdditiveFields(metadata, nullptr, 0);
    AStatsManager_setPullAtomCallback(4, metadata, answerNothing, nullptr);
    AStatsManager_PullAtomMetadata_release(metadata);
    registerTag(3);
    EXPECT_EQ(requests(), (Strings{"+1", "+2", "+4", "+3"}));
    EXPECT_EQ(mStatsd->terms.get(),
              (Strings{"1000 1500", "-7 1099511627776 3 5", "-7 1099511627776", "1000 1500"}));
}

/** Answers with a built and an unbuilt event; the cookie is the result. */
AStatsManager_PullAtomCallbackReturn answerTwo(int32_t tag, AStatsEventList* data, void* cookie) {
    for (int32_t value : {1, 2}) {
        AStatsEvent* event = AStatsEventList_addStatsEvent(data);
        AStatsEvent_setAtomId(event, static_cast<uint32_t>(tag));
        AStatsEvent_writeInt32(event, value);
        if (value == 1) AStatsEvent_build(event);
    }
    return *static_cast<int32_t*>(cookie);
}

TEST_F(PullCallbackTableTest, answersWithEveryEventAndTheVerdictOrWithAFailureThatGoesThrough) {
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

TEST_F(PullCallbackTableTest, registersAllAgainInAscendingOrderWhenStatsdReturns) {
    int32_t verdict = AStatsManager_PULL_SUCCESS;
    for (int32_t tag : {30, 10, 20, 15}) registerTag(tag);
    AStatsManager_clearPullAtomCallback(15);
    // The last registration of a tag wins, also after a death.
    AStatsManager_setPullAtomCallback(20, nullptr, answerTwo, &verdict);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(pull(20), "20 success [1] unbuilt[2]");
        restartStatsd();
        EXPECT_EQ(requests(), (Strings{"+10", "+20", "+30"}));
    }
}

TEST_F(PullCallbackTableTest, keepsRegistrationsThatFoundNoStatsd) {
    registerTag(30);
    EXPECT_EQ(requests(), Strings{"+30"});
    mRemote->die();
    registerTag(10);
    PullCallbackTable::instance().join();
    startStatsd();
    // The library is not notified that statsd is back; the next registration finds it.
    registerTag(20);
    EXPECT_EQ(requests(), Strings{"+20"});
    restartStatsd();
    EXPECT_EQ(requests(), (Strings{"+10", "+20", "+30"}));
}

/** A statsd that dies while it is asked for its descriptor; another replaces it at once. */
struct DyingStatsd : Claiming {
    explicit DyingStatsd(std::function<void()> action)
          : Claiming("android.os.IStatsd"), die(std::move(action)) {}
    const android::String16& getInterfaceDescriptor() const override {
        die();
        return descriptor;
    }
    const std::function<void()> die;
};

TEST_F(PullCallbackTableTest, looksUpAStatsdThatDiesMeanwhileOnlyOnce) {
    mRemote->die();
    std::shared_ptr<inprocess::RemoteService> dying;
    dying = inprocess::publish("stats", new DyingStatsd([&] {
                                   startStatsd();
                                   dying->die();
                               }));
    registerTag(10);
    PullCallbackTable::instance().join();
    registerTag(20);
    EXPECT_EQ(requests(), Strings{"+20"});
}

TEST_F(PullCallbackTableTest, keepsTheRegistrationsThatSeveralThreadsMake) {
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
    PullCallbackTable::instance().join();
    restartStatsd();
    Strings expected;
    for (int32_t tag = 0; tag < 60; tag += 2) expected.push_back("+" + std::to_string(tag));
    EXPECT_EQ(requests(), expected);
}

}  // namespace
}  // namespace zstats
