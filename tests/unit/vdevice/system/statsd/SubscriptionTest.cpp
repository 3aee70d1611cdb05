#include <android-base/file.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "proto/shell_config.pb.h"
#include "tests/unit/vdevice/system/statsd/FakePuller.h"
#include "vdevice/system/statsd/ElapsedTime.h"
#include "vdevice/system/statsd/Subscription.h"

namespace zstats::vdevice {
namespace {

constexpr int32_t kTag = 150005;
constexpr int32_t kPushed = 100207;

int64_t gNow = 0;

class SubscriptionTest : public testing::Test {
  protected:
    void SetUp() override {
        signal(SIGPIPE, SIG_IGN);
        ASSERT_EQ(0, pipe2(mEnds, O_CLOEXEC | O_NONBLOCK));
        mManager.add(0, kTag, {0, 2000, {}}, mPuller);
    }
    void TearDown() override {
        if (mEnds[0] >= 0) close(mEnds[0]);
    }

    /** A subscription that starts at this time. */
    Subscription subscribe(int64_t startMs, int64_t lifeSeconds = 0) {
        setNow(startMs);
        SubscriptionRequest request;
        request.pushed = {kPushed};
        request.pulls = {{kTag, 1000, {0, 1000}}};
        return Subscription(request, android::base::unique_fd(mEnds[1]),
                            std::chrono::seconds(lifeSeconds), &mManager, [] { return gNow; });
    }

    static void setNow(int64_t ms) { gNow = ms * kNanosPerMilli; }

    int64_t work(Subscription* subscription, int64_t nowMs) {
        setNow(nowMs);
        return subscription->work(gNow);
    }

    /** Ids of the atoms written since the last call; "-" for a heartbeat. */
    std::string written() {
        char bytes[4096];
        for (ssize_t count; (count = read(mEnds[0], bytes, sizeof(bytes))) > 0;) {
            mCutter.append(bytes, static_cast<size_t>(count));
        }
        std::string text;
        while (const auto message = mCutter.next()) {
            const auto atoms = parseShellData(*message).value_or(std::vector<StreamedAtom>());
            text += atoms.empty() ? "- " : "";
            for (const StreamedAtom& atom : atoms) text += std::to_string(atom.id) + " ";
        }
        return text;
    }

    int mEnds[2] = {-1, -1};
    PullerManager mManager;
    std::shared_ptr<FakePuller> mPuller = ndk::SharedRefBase::make<FakePuller>();
    ShellFrameCutter mCutter;
};

TEST_F(SubscriptionTest, pullsAnIntervalAfterTheWholeSecondOfItsStart) {
    Subscription one = subscribe(10700);
    EXPECT_EQ(100, work(&one, 10900));
    EXPECT_EQ("", written());
    EXPECT_EQ(1000, work(&one, 11000));
    EXPECT_EQ("150005 ", written());
    EXPECT_EQ(1, work(&one, 11999));
    EXPECT_EQ("", written());
}

TEST_F(SubscriptionTest, asksForAWholeIntervalOfRestAfterASlowPull) {
    Subscription one = subscribe(10000);
    mPuller->meanwhile = [] { setNow(11600); };
    EXPECT_EQ(1000, work(&one, 11000));
    // The caller rests from the end of the pull, so the next comes at 12600 and no sooner.
    EXPECT_EQ("150005 ", written());
    mPuller->meanwhile = nullptr;
    EXPECT_EQ(1000, work(&one, 12600));
    EXPECT_EQ("150005 ", written());
}

TEST_F(SubscriptionTest, sendsAHeartbeatAfterASecondWithoutAnAtom) {
    mManager.remove(0, kTag);
    Subscription one = subscribe(10000);
    EXPECT_EQ(1, work(&one, 10999));
    EXPECT_EQ("", written());
    EXPECT_EQ(1000, work(&one, 11000));
    EXPECT_EQ("- ", written());
    setNow(11300);
    one.push({kPushed, 0, 0, {1}});
    one.push({kPushed + 1, 0, 0, {1}});
    EXPECT_EQ("100207 ", written());
    EXPECT_EQ(300, work(&one, 12000));
    EXPECT_EQ("", written());
}

TEST_F(SubscriptionTest, endsWithItsLifeTime) {
    Subscription one = subscribe(10900, 2);
    work(&one, 11999);
    EXPECT_TRUE(one.alive());
    work(&one, 12000);
    EXPECT_FALSE(one.alive());
    EXPECT_EQ("150005 ", written());
}

TEST_F(SubscriptionTest, endsWithTheFirstFailedWrite) {
    Subscription one = subscribe(10000);
    close(std::exchange(mEnds[0], -1));
    EXPECT_TRUE(one.alive());
    one.push({kPushed, 0, 0, {1}});
    EXPECT_FALSE(one.alive());
}

TEST_F(SubscriptionTest, readsAConfiguration) {
    android::os::statsd::ShellSubscription config;
    config.add_pushed()->set_atom_id(10);
    config.add_pushed()->set_atom_id(10);
    auto* pulled = config.add_pulled();
    pulled->mutable_matcher()->set_atom_id(kTag);
    pulled->set_freq_millis(700);
    for (const char* name : {"AID_ROOT", "com.norda.app", "AID_STATSD"}) pulled->add_packages(name);
    config.set_collect_uids(true);
    const auto request = parseSubscription(config.SerializeAsString());
    ASSERT_TRUE(request && request->pulls.size() == 1);
    EXPECT_EQ(std::set<int32_t>{10}, request->pushed);
    EXPECT_EQ(kTag, request->pulls[0].tag);
    EXPECT_EQ(700, request->pulls[0].intervalMs);
    EXPECT_EQ((std::vector<int32_t>{0, 1066, 1000}), request->pulls[0].uids);
    EXPECT_TRUE(request->collectUids);
    EXPECT_FALSE(parseSubscription("\xff\xff"));
}

}  // namespace
}  // namespace zstats::vdevice
