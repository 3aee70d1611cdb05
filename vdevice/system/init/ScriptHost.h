#pragma once

#include <sys/types.h>

#include <string>

namespace zstats::vdevice {

/** Where the script of a boot lies; without one, a console is opened. */
inline constexpr char kScriptPath[] = "/script/main";

/**
 * The process that talks to the outside: it streams the device's log from the start, runs the
 * script once told to, passes its output and status on, and ends. It is a process of its own
 * because the port is slow and init must stay quick.
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
