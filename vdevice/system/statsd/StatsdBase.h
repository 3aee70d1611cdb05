#pragma once

#include <aidl/android/os/BnStatsd.h>

#include <memory>
#include <vector>

namespace zstats::vdevice {

/**
 * statsd's interface with every call refused as unsupported. Derived classes implement what the
 * virtual device uses, which excludes configurations, reports, queries, alarms, and the system
 * server's registrations for apps.
 */
class StatsdBase : public aidl::android::os::BnStatsd {
  protected:
    using Status = ndk::ScopedAStatus;
    using IPullAtomCallback = aidl::android::os::IPullAtomCallback;

    static Status unsupported() {
        return Status(AStatus_fromExceptionCode(EX_UNSUPPORTED_OPERATION));
    }

  public:
#include <aidl/android/os/IStatsd.refusals>
};

}  // namespace zstats::vdevice
