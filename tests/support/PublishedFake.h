#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <binder/IServiceManager.h>
#include <gtest/gtest.h>
#include <utils/String16.h>

#include <memory>
#include <string>

#include "tests/support/InProcessBinder.h"

namespace zstats {

/**
 * Base of the fakes of services. A fake is published under its real name at construction and is
 * called through the platform's proxy; remote() makes it die, hang or refuse. Its answers may be
 * set at any time, also during calls.
 */
class PublishedFake {
  public:
    PublishedFake(const PublishedFake&) = delete;
    PublishedFake& operator=(const PublishedFake&) = delete;

    /** Publishes again after remote().die(); keeps the answers. */
    void publish() {
        mRemote = mNdkBinder.get() != nullptr ? inprocess::publish(mName, mNdkBinder)
                                              : inprocess::publish(mName, mBinder);
    }
    /** Publishes the object without a proxy, so that out values arrive with error statuses. */
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
