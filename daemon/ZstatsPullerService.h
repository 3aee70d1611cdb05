#pragma once

#include <aidl/android/os/IStatsd.h>
#include <android/binder_auto_utils.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/AtomicPointer.h"

namespace zstats {

/** The main service's binder interface. It has no methods: dump is its only control surface. */
class IZstatsPullerService : public android::IInterface {
  public:
    DECLARE_META_INTERFACE(ZstatsPullerService)
};

/** The client side. Unused, but the platform's macros need the class. */
class BpZstatsPullerService : public android::BpInterface<IZstatsPullerService> {
  public:
    explicit BpZstatsPullerService(const android::sp<android::IBinder>& impl)
          : BpInterface<IZstatsPullerService>(impl) {}
};

/**
 * Registers the pulled atoms with statsd, answers them, and holds the kernel event channel.
 *
 * Construction never fails. If statsd is not running, the object stays without callback object,
 * registrations and channel. When statsd dies later, only mStatsd becomes empty. The callbacks stay
 * registered after destruction, so the object has to live as long as pulls can arrive.
 */
class BnZstatsPullerService : public android::BnInterface<IZstatsPullerService> {
  public:
    BnZstatsPullerService();
    ~BnZstatsPullerService() override;

    /**
     * Serves "--loglevel N" and "--rgbLog N" and writes the reply to `fd`, or the help for any
     * other number of arguments. Returns OK, or PERMISSION_DENIED with nothing written. Any thread.
     */
    android::status_t dump(int fd, const android::Vector<android::String16>& args) override;

    /** Logs the transaction, then calls the base class. */
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override;

    /**
     * Connects to the kernel channel of the BPF program at `path`, once. connectFd() is then what
     * the library returned, also when that is an error, and unchanged on a device without the
     * channel. During construction only.
     */
    void connectZbpfForKorkerInner(char* path);

    /** What the last connection attempt returned, negative when it failed; -1 before the first. */
    int32_t connectFd() const { return mConnectFd; }

  private:
    /** Death notice of statsd, on a binder thread; the cookie is the service. */
    static void onStatsdDied(void* cookie);

    bool connectStatsd();
    void registerPullAtomCallbacks();
    void openKernelChannels();
    std::string applyDumpOption(const android::String16& option, const android::String16& value);
    int32_t setRgbHistogramLog(bool enabled);

    /** Empty when statsd was not reachable or has died. */
    AtomicShared<aidl::android::os::IStatsd> mStatsd;
    std::shared_ptr<ZStatsPullAtomCallback> mPullAtomCallback;
    int32_t mConnectFd = -1;
    std::vector<int32_t> mAtomTags;
    /** Owns the link to statsd: its destruction ends the notices to this object. */
    ndk::ScopedAIBinder_DeathRecipient mStatsdDeathRecipient;
};

/** The service that the daemon publishes. Its destructor ends the kernel channel. */
class ZstatsPullerService : public BnZstatsPullerService {
  public:
    ~ZstatsPullerService() override;
};

}  // namespace zstats
