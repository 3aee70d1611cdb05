#pragma once

#include <android-base/unique_fd.h>

#include <map>

#include "vdevice/lib/Channel.h"
#include "vdevice/system/scripthost/KernelLog.h"
#include "vdevice/system/scripthost/Session.h"

namespace zstats::vdevice {

/**
 * Sends the device's log to the launcher, and runs sessions: the script of the boot, or if there is
 * none those that the launcher begins, side by side.
 */
class ScriptHost {
  public:
    ScriptHost();

    /** Begins once "vdev.ready" is set; returns when the script of the boot has ended. */
    void run();

  private:
    void wait();
    void passLog();
    void begin();
    void takeFrames();
    void onFrame(const Frame& frame);
    void collectChildren();
    void finish(pid_t pid, int32_t status);

    Channel mChannel;
    KernelLog mKernelLog;
    const android::base::unique_fd mLog;
    const android::base::unique_fd mLogChanges;
    const android::base::unique_fd mDeaths;
    android::base::unique_fd mReady;
    std::map<uint16_t, Session> mSessions;
    bool mStays = false;
    bool mEnded = false;
};

}  // namespace zstats::vdevice
