#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <utils/Timers.h>

#include "tests/unit/vdevice/system/statsd/FakePuller.h"
#include "vdevice/system/statsd/Subscription.h"

namespace zstats::vdevice {
namespace {

using namespace cli;

constexpr int32_t kTag = 150005;
constexpr int32_t kPushed = 100207;

int64_t gNow = 0;

class SubscriptionTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(0, pipe2(mEnds, O_CLOEXEC | O_NONBLOCK));
        mManager.add(0, kTag, {0, 2000, {}}, mPuller);
    }
    void TearDown() override { close(mEnds[0]); }

    /** Starts a subscription at this time. */
    Subscription subscribe(int64_t startMs, int64_t lifeSeconds = 0) {
        setNow(startMs);
        SubscriptionRequest request;
        request.pushed = {kPushed};
        request.pulls = {{kTag, 1000, {0, 1000}}};
        return Subscription(request, android::base::unique_fd(mEnds[1]),
                            std::chrono::seconds(lifeSeconds), &mManager, [] { return gNow; });
    }

    static void setNow(int64_t ms) { gNow = milliseconds_to_nanoseconds(ms); }

    /** The ms of sleep that a round at this time returns, and the atoms that it writes. */
    std::string work(Subscription* subscription, int64_t nowMs) {
        setNow(nowMs);
        const std::string sleep = std::to_string(subscription->work(gNow));
        return sleep + written();
    }

    /** Ids of the atoms written since the last call, each after a blank; "-" for a heartbeat. */
    std::string written() {
        char bytes[4096];
        for (ssize_t count; (count = read(mEnds[0], bytes, sizeof(bytes))) > 0;) {
            mCutter.append(bytes, static_cast<size_t>(count));
        }
        std::string text;
        while (const auto message = mCutter.next()) {
            const auto atoms = parseShellData(*message).value_or(std::vector<StreamedAtom>());
            text += atoms.empty() ? " -" : "";
            for (const StreamedAtom& atom : atoms) text += " " + std::to_string(atom.id);
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
    EXPECT_EQ("100", work(&one, 10900));
    EXPECT_EQ("1000 150005", work(&one, 11000));
    EXPECT_EQ("1", work(&one, 11999));
}

TEST_F(SubscriptionTest, asksForAWholeIntervalOfRestAfterASlowPull) {
    Subscription one = subscribe(10000);
    mPuller->meanwhile = [] { setNow(11600); };
    // The caller sleeps after the end of the pull, so the next pull is at 12600.
    EXPECT_EQ("1000 150005", work(&one, 11000));
    mPuller->meanwhile = nullptr;
    EXPECT_EQ("1000 150005", work(&one, 12600));
}

TEST_F(SubscriptionTest, sendsAHeartbeatAfterASecondWithoutAnAtom) {
    mManager.remove(0, kTag);
    Subscription one = subscribe(10000);
    EXPECT_EQ("1", work(&one, 10999));
    EXPECT_EQ("1000 -", work(&one, 11000));
    setNow(11300);
    one.push({kPushed, 0, 0, {1}});
    one.push({kPushed + 1, 0, 0, {1}});
    EXPECT_EQ(" 100207", written());
    EXPECT_EQ("300", work(&one, 12000));
}

TEST_F(SubscriptionTest, endsWithItsLifeTime) {
    Subscription one = subscribe(10900, 2);
    EXPECT_EQ("1000 150005", work(&one, 11999));
    EXPECT_TRUE(one.alive());
    EXPECT_EQ("1000", work(&one, 12000));
    EXPECT_FALSE(one.alive());
}

}  // namespace
}  // namespace zstats::vdevice
