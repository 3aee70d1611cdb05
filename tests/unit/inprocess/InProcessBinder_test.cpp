#include "host/inprocess/InProcessBinder.h"

#include <aidl/android/os/BnPullAtomResultReceiver.h>
#include <android/binder_manager.h>
#include <binder/Binder.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

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

class Notice : public IBinder::DeathRecipient {
  public:
    void binderDied(const android::wp<IBinder>&) override { ++mCount; }
    std::atomic<int> mCount{0};
};

class Receiver : public aidl::android::os::BnPullAtomResultReceiver {
  public:
    ndk::ScopedAStatus pullFinished(
            int32_t tag, bool, const std::vector<aidl::android::util::StatsEventParcel>&) override {
        mTag = tag;
        return ndk::ScopedAStatus::ok();
    }
    std::atomic<int32_t> mTag{0};
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

TEST_F(InProcessBinderTest, deathIsToldOnceAndEndsHangingCalls) {
    const sp<Notice> notice = new Notice;
    ASSERT_EQ(mBinder->linkToDeath(notice), android::OK);
    mService->block();
    std::thread caller([&] {
        Parcel data;
        Parcel reply;
        EXPECT_EQ(mBinder->transact(1, data, &reply), android::DEAD_OBJECT);
    });
    mService->waitForBlocked(1);
    mService->die();
    caller.join();
    EXPECT_EQ(notice->mCount, 1);
    EXPECT_EQ(android::defaultServiceManager()->checkService(String16("doubler")), nullptr);
    EXPECT_EQ(mBinder->linkToDeath(notice), android::DEAD_OBJECT);
}

/** The NDK's view of the same: generated classes, its own proxies and notices. */
TEST_F(InProcessBinderTest, theNdkReachesServicesAndHearsOfTheirDeath) {
    using aidl::android::os::IPullAtomResultReceiver;
    const auto service = ndk::SharedRefBase::make<Receiver>();
    const auto remote = publish("receiver", service->asBinder());
    const ndk::SpAIBinder binder(AServiceManager_checkService("receiver"));
    const auto receiver = IPullAtomResultReceiver::fromBinder(binder);
    ASSERT_NE(receiver, nullptr);
    EXPECT_TRUE(receiver->isRemote());
    EXPECT_TRUE(receiver->pullFinished(7, true, {}).isOk());
    remote->drainOneway();
    EXPECT_EQ(service->mTag, 7);

    std::atomic<int> notices{0};
    const ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new(
            [](void* cookie) { ++*static_cast<std::atomic<int>*>(cookie); }));
    EXPECT_EQ(AIBinder_linkToDeath(binder.get(), recipient.get(), &notices), STATUS_OK);
    remote->die();
    EXPECT_EQ(notices, 1);
    EXPECT_EQ(AServiceManager_checkService("receiver"), nullptr);
}

}  // namespace
}  // namespace zstats::inprocess
