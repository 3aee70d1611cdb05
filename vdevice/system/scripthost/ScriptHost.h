#pragma once

#include <android-base/unique_fd.h>
#include <sys/types.h>

#include "vdevice/lib/Channel.h"
#include "vdevice/system/scripthost/KernelLog.h"

namespace zstats::vdevice {

/** Where the script of a boot lies; without one, a console is opened. */
inline constexpr char kScriptPath[] = "/script/main";

/**
 * Sends the device's log, the script's output and its status to the launcher. A script gets pipes
 * and a console a pseudo-terminal, both of this process's domain, as on a phone those of its debug
 * bridge.
 */
class ScriptHost {
  public:
    ScriptHost();

    /** Runs the script or the console once "vdev.ready" is set, and returns when it has ended. */
    void run();

  private:
    void passLog();
    bool passOnce(android::base::unique_fd* from, FrameType type);
    void passConsole(int from, int to);
    void collectChildren();
    void finish(int32_t status);
    void begin();
    void startScript();
    void startConsole();

    Channel mChannel;
    KernelLog mKernelLog;
    const android::base::unique_fd mLog;
    const android::base::unique_fd mLogChanges;
    const android::base::unique_fd mDeaths;
    const android::base::unique_fd mReady;
    android::base::unique_fd mOutput;
    android::base::unique_fd mErrors;
    android::base::unique_fd mConsole;
    android::base::unique_fd mTerminal;
    pid_t mScript = -1;
    bool mEnded = false;
};

}  // namespace zstats::vdevice
