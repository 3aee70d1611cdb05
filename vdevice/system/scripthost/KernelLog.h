#pragma once

#include <android-base/unique_fd.h>

namespace zstats::vdevice {

/**
 * Brings what init logs into the device's log. Init logs to the kernel, from where a phone's logd
 * takes it. Not thread-safe.
 */
class KernelLog {
  public:
    KernelLog();

    /** Readable when the kernel has logged something. */
    int fd() const { return mLog.get(); }
    /** Copies init's lines that came since the last call. */
    void pass();

  private:
    const android::base::unique_fd mLog;
};

}  // namespace zstats::vdevice
