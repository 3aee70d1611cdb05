#pragma once

#include <android-base/unique_fd.h>

#include <map>

#include "vdevice/lib/Channel.h"
#include "vdevice/system/scripthost/KernelLog.h"
#include "vdevice/system/scripthost/Session.h"

namespace zstats::vdevice {

/**
 * Sends the device's log to the launcher, and runs the script of the boot, or the concurrent
 * sessions that the launcher begins.
 */
class ScriptHost {
  public:
    ScriptHost();

    /** Begins when "vdev.ready" is set; returns after the script of the boot. */
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
