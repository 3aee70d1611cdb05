#pragma once

#include <android-base/unique_fd.h>

namespace zstats::vdevice {

/**
 * Copies init's log lines from the kernel's log to the device's, as logd does on a phone. Not
 * thread-safe.
 */
class KernelLog {
  public:
    KernelLog();

    /** Readable when the kernel's log has new records. */
    int fd() const { return mLog.get(); }
    /** Copies init's new lines. */
    void pass();

  private:
    const android::base::unique_fd mLog;
};

}  // namespace zstats::vdevice
