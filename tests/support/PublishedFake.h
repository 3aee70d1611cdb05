#pragma once

#include <android/binder_libbinder.h>
#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

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
    void publish() { mRemote = inprocess::publish(mName, mBinder); }
    /** Publishes the object without a proxy, so that out values arrive with error statuses. */
    void publishLocal() {
        android::defaultServiceManager()->addService(android::String16(mName.c_str()), mBinder);
    }
    inprocess::RemoteService& remote() { return *mRemote; }

  protected:
    PublishedFake(const char* name, android::sp<android::IBinder> binder)
          : mName(name), mBinder(std::move(binder)) {
        publish();
    }
    ~PublishedFake() { inprocess::withdraw(mName); }

  private:
    const std::string mName;
    const android::sp<android::IBinder> mBinder;
    std::shared_ptr<inprocess::RemoteService> mRemote;
};

/** A fake whose service is a class of the platform's C++ binder library. */
template <typename Service>
class PublishedCppFake : public PublishedFake {
  protected:
    explicit PublishedCppFake(const char* name) : PublishedCppFake(name, new Service) {}

    Service* const mService;  // owned by the base

  private:
    PublishedCppFake(const char* name, Service* service)
          : PublishedFake(name, android::sp<android::IBinder>(service)), mService(service) {}
};

/** A fake whose service is a class of the NDK's binder library. */
template <typename Service>
class PublishedNdkFake : public PublishedFake {
  protected:
    explicit PublishedNdkFake(const char* name)
          : PublishedNdkFake(name, ndk::SharedRefBase::make<Service>()) {}

    const std::shared_ptr<Service> mService;

  private:
    PublishedNdkFake(const char* name, const std::shared_ptr<Service>& service)
          : PublishedFake(name, AIBinder_toPlatformBinder(service->asBinder().get())),
            mService(service) {}
};

}  // namespace zstats
