#include <binder/Binder.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

#include <atomic>

#include "host/inprocess/InProcessBinder.h"

namespace zstats::inprocess {
namespace {

using android::IBinder;
using android::Parcel;
using android::sp;
using android::status_t;
using android::String16;

/** Answers with the caller's uid and twice the request's number. */
class Doubler : public android::BBinder {
  public:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (code > 9) return android::BBinder::onTransact(code, data, reply, flags);
        const int32_t number = data.readInt32();
        mInOrder = mInOrder && number >= mLast;
        mLast = number;
        mFlags = flags;
        reply->writeInt32(static_cast<int32_t>(android::IPCThreadState::self()->getCallingUid()));
        return reply->writeInt32(number * 2);
    }

    std::atomic<bool> mInOrder{true};
    std::atomic<int32_t> mLast{0};
    std::atomic<uint32_t> mFlags{0};
};

class InProcessBinderTest : public testing::Test {
  protected:
    void TearDown() override { reset(); }

    sp<Doubler> mLocal = new Doubler;
    std::shared_ptr<RemoteService> mService = publish("doubler", mLocal);

    sp<IBinder> mBinder = android::defaultServiceManager()->checkService(String16("doubler"));
};

TEST_F(InProcessBinderTest, callsArriveThroughAGenuineProxyUnderTheUidThatTheTestChose) {
    ASSERT_NE(mBinder, nullptr);
    EXPECT_NE(mBinder->remoteBinder(), nullptr);
    mService->setCallerUid(2000);
    Parcel data;
    Parcel reply;
    data.writeInt32(21);
    EXPECT_EQ(mBinder->transact(1, data, &reply), android::OK);
    EXPECT_EQ(reply.readInt32(), 2000);
    EXPECT_EQ(reply.readInt32(), 42);
    EXPECT_EQ(mLocal->mFlags, 16u);
    EXPECT_EQ(android::IPCThreadState::self()->getCallingUid(), getuid());
    EXPECT_EQ(mService->calls(1), 1);
}

TEST_F(InProcessBinderTest, onewayCallsAreServedInTheirOrder) {
    for (int32_t i = 0; i < 100; ++i) {
        Parcel data;
        data.writeInt32(i);
        ASSERT_EQ(mBinder->transact(1, data, nullptr, IBinder::FLAG_ONEWAY), android::OK);
    }
    mService->drainOneway();
    EXPECT_EQ(mLocal->mLast, 99);
    EXPECT_TRUE(mLocal->mInOrder);
    EXPECT_EQ(mLocal->mFlags, 17u);
}

}  // namespace
}  // namespace zstats::inprocess
