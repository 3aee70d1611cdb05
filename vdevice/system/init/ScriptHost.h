#pragma once

#include <sys/types.h>

#include <string>

namespace zstats::vdevice {

/** Where the script of a boot lies; without one, a console is opened. */
inline constexpr char kScriptPath[] = "/script/main";

/**
 * A child process that sends the device's log and the script's output and status to the launcher.
 * It ends with the script. Init forks it because writing to the slow port blocks.
 */
class ScriptHost {
  public:
    /** Starts the process. */
    ScriptHost();

    pid_t pid() const { return mPid; }

    /** Lets the script run; `state` tells what became of the daemon. Later calls do nothing. */
    void begin(const std::string& state);
    /** Ends the run with the reason why the device does not start. */
    void refuse(const std::string& reason);

  private:
    pid_t mPid = -1;
    int mOrders = -1;
    bool mBegun = false;
};

}  // namespace zstats::vdevice
