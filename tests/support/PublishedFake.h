#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <binder/IServiceManager.h>
#include <gtest/gtest.h>
#include <utils/String16.h>

#include <memory>
#include <string>

#include "host/inprocess/InProcessBinder.h"

namespace zstats {

/**
 * What the fakes of services have in common. Each is published under its real name when it is
 * constructed and is reached through a genuine proxy; remote() makes it die, hang or refuse. What
 * it answers may be set at any time, also while calls run.
 */
class PublishedFake {
  public:
    PublishedFake(const PublishedFake&) = delete;
    PublishedFake& operator=(const PublishedFake&) = delete;

    /** Publishes again after remote().die(); what was set is kept. */
    void publish() {
        mRemote = mNdkBinder.get() != nullptr ? inprocess::publish(mName, mNdkBinder)
                                              : inprocess::publish(mName, mBinder);
    }
    /** Publishes the object itself, without a proxy: out values then arrive beside error statuses. */
    void publishLocal() {
        inprocess::withdraw(mName);
        if (mNdkBinder.get() != nullptr) {
            EXPECT_EQ(AServiceManager_addService(mNdkBinder.get(), mName.c_str()), 0);
        } else {
            android::defaultServiceManager()->addService(android::String16(mName.c_str()), mBinder);
        }
    }
    inprocess::RemoteService& remote() { return *mRemote; }

  protected:
    PublishedFake(const char* name, const android::sp<android::IBinder>& binder)
          : mName(name), mBinder(binder) {
        publish();
    }
    PublishedFake(const char* name, const ndk::SpAIBinder& binder)
          : mName(name), mNdkBinder(binder) {
        publish();
    }
    ~PublishedFake() { inprocess::withdraw(mName); }

  private:
    const std::string mName;
    const android::sp<android::IBinder> mBinder;  // one of the two is set
    const ndk::SpAIBinder mNdkBinder;
    std::shared_ptr<inprocess::RemoteService> mRemote;
};

}  // namespace zstats
