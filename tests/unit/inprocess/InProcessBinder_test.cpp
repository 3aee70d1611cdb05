#include "host/inprocess/InProcessBinder.h"

#include <aidl/vendor/norda/hardware/charger/BnCharger.h>
#include <android/binder_manager.h>
#include <binder/Binder.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace zstats::inprocess {
namespace {

using android::IBinder;
using android::Parcel;
using android::sp;
using android::status_t;
using android::String16;

/** Answers with the caller's uid and twice the request's number; code 9 fails. */
class Doubler : public android::BBinder {
  public:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (code == 9) return android::BAD_TYPE;
        if (code > 9) return android::BBinder::onTransact(code, data, reply, flags);
        const int32_t number = data.readInt32();
        {
            const std::lock_guard<std::mutex> lock(mLock);
            mSeen.push_back(number);
            mFlags = flags;
        }
        reply->writeInt32(static_cast<int32_t>(android::IPCThreadState::self()->getCallingUid()));
        return reply->writeInt32(number * 2);
    }

    std::vector<int32_t> seen() {
        const std::lock_guard<std::mutex> lock(mLock);
        return mSeen;
    }
    uint32_t flags() {
        const std::lock_guard<std::mutex> lock(mLock);
        return mFlags;
    }

  private:
    std::mutex mLock;
    std::vector<int32_t> mSeen;
    uint32_t mFlags = 0;
};

class Notice : public IBinder::DeathRecipient {
  public:
    void binderDied(const android::wp<IBinder>&) override { ++mCount; }
    std::atomic<int> mCount{0};
};

class InProcessBinderTest : public testing::Test {
  protected:
    void TearDown() override { reset(); }

    sp<Doubler> mLocal = new Doubler;
    std::shared_ptr<RemoteService> mService = publish("doubler", mLocal);

    sp<IBinder> lookUp() {
        return android::defaultServiceManager()->checkService(String16("doubler"));
    }
};

TEST_F(InProcessBinderTest, callsArriveThroughAGenuineProxyUnderTheUidThatTheTestChose) {
    const sp<IBinder> binder = lookUp();
    ASSERT_NE(binder, nullptr);
    EXPECT_NE(binder->remoteBinder(), nullptr);
    mService->setCallerUid(2000);
    Parcel data;
    Parcel reply;
    data.writeInt32(21);
    EXPECT_EQ(binder->transact(1, data, &reply), android::OK);
    EXPECT_EQ(reply.readInt32(), 2000);
    EXPECT_EQ(reply.readInt32(), 42);
    EXPECT_EQ(mLocal->flags(), 16u);
    EXPECT_EQ(android::IPCThreadState::self()->getCallingUid(), getuid());
    EXPECT_EQ(mService->calls(1), 1);
}

TEST_F(InProcessBinderTest, aFailingCallBringsItsStatusAndAnEmptyReply) {
    Parcel data;
    Parcel reply;
    EXPECT_EQ(lookUp()->transact(9, data, &reply), android::BAD_TYPE);
    EXPECT_EQ(reply.dataSize(), 0u);
    mService->failCalls(android::PERMISSION_DENIED);
    EXPECT_EQ(lookUp()->transact(1, data, &reply), android::PERMISSION_DENIED);
    mService->failCalls(android::OK);
    EXPECT_EQ(lookUp()->transact(1, data, &reply), android::OK);
}

TEST_F(InProcessBinderTest, onewayCallsAreServedInTheirOrder) {
    for (int32_t i = 0; i < 100; ++i) {
        Parcel data;
        data.writeInt32(i);
        ASSERT_EQ(lookUp()->transact(1, data, nullptr, IBinder::FLAG_ONEWAY), android::OK);
    }
    mService->drainOneway();
    const std::vector<int32_t> seen = mLocal->seen();
    ASSERT_EQ(seen.size(), 100u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_EQ(mLocal->flags(), 17u);
}

TEST_F(InProcessBinderTest, deathIsToldOnceAndEndsHangingCalls) {
    const sp<IBinder> binder = lookUp();
    const sp<Notice> notice = new Notice;
    ASSERT_EQ(binder->linkToDeath(notice), android::OK);
    mService->block();
    status_t hanging = android::OK;
    std::thread caller([&] {
        Parcel data;
        Parcel reply;
        hanging = binder->transact(1, data, &reply);
    });
    mService->waitForBlocked(1);
    mService->die();
    caller.join();
    EXPECT_EQ(hanging, android::DEAD_OBJECT);
    EXPECT_EQ(notice->mCount, 1);
    EXPECT_EQ(lookUp(), nullptr);
    EXPECT_EQ(binder->linkToDeath(notice), android::DEAD_OBJECT);
}

/** The NDK's view of the same: generated classes, its own proxies and notices. */
class Charger : public aidl::vendor::norda::hardware::charger::BnCharger {
  public:
    using Status = ndk::ScopedAStatus;
    Status answer(int32_t* out) {
        *out = 7;
        return Status::ok();
    }
    Status getBatteryVoltageNow(int32_t* out) override { return answer(out); }
    Status getPsyBatteryCC(int32_t*) override { return Status::fromServiceSpecificError(-5); }
    Status getPsyBatteryCurrentNow(int32_t* out) override { return answer(out); }
    Status getPsyBatteryFcc(int32_t* out) override { return answer(out); }
    Status getPsyBatteryPchg(int32_t* out) override { return answer(out); }
    Status getPsyBatteryPchgResetCount(int32_t* out) override { return answer(out); }
    Status getPsyBatteryTemp(int32_t* out) override { return answer(out); }
    Status getPsyChargeTech(int32_t* out) override { return answer(out); }
    Status getPsyFastChgType(int32_t* out) override { return answer(out); }
    Status getPsyInputCurrent(int32_t* out) override { return answer(out); }
    Status getUIsohValue(int32_t* out) override { return answer(out); }
    Status getUsbInputCurrentNow(int32_t* out) override { return answer(out); }
};

TEST_F(InProcessBinderTest, theNdkReachesServicesAndHearsOfTheirDeath) {
    using aidl::vendor::norda::hardware::charger::ICharger;
    const auto service = ndk::SharedRefBase::make<Charger>();
    const auto remote = publish("charger", service->asBinder());
    const ndk::SpAIBinder binder(AServiceManager_checkService("charger"));
    const std::shared_ptr<ICharger> charger = ICharger::fromBinder(binder);
    ASSERT_NE(charger, nullptr);
    EXPECT_TRUE(charger->isRemote());
    int32_t value = 0;
    EXPECT_TRUE(charger->getBatteryVoltageNow(&value).isOk());
    EXPECT_EQ(value, 7);
    EXPECT_EQ(charger->getPsyBatteryCC(&value).getServiceSpecificError(), -5);

    std::atomic<int> notices{0};
    const ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new(
            [](void* cookie) { ++*static_cast<std::atomic<int>*>(cookie); }));
    EXPECT_EQ(AIBinder_linkToDeath(binder.get(), recipient.get(), &notices), STATUS_OK);
    remote->die();
    EXPECT_EQ(notices, 1);
    EXPECT_EQ(AServiceManager_checkService("charger"), nullptr);
}

TEST_F(InProcessBinderTest, additionsAreRecordedAndMayBeRefused) {
    const sp<android::IServiceManager> manager = android::defaultServiceManager();
    refuseService("unwelcome", -1);
    EXPECT_EQ(manager->addService(String16("unwelcome"), mLocal), -1);
    EXPECT_EQ(manager->addService(String16("welcome"), mLocal, false, 8), android::OK);
    const std::vector<AddedService> added = addedServices();
    ASSERT_EQ(added.size(), 1u);
    EXPECT_EQ(added[0].name, "welcome");
    EXPECT_EQ(added[0].dumpFlags, 8);
    EXPECT_EQ(manager->checkService(String16("welcome")), mLocal);
    hideServiceManager(true);
    EXPECT_EQ(android::defaultServiceManager(), nullptr);
}

}  // namespace
}  // namespace zstats::inprocess
