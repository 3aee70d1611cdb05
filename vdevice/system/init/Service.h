#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "vdevice/system/init/RcFile.h"

namespace zstats::vdevice {

/** A service of the rc files and its process. Used on init's one thread. */
class Service {
  public:
    using Clock = std::chrono::steady_clock;

    /** Told of each change: "running", "stopping", "restarting" or "stopped". */
    using StateListener = std::function<void(const std::string& name, const std::string& state)>;

    /** `absent`: the profile wants it not started by the rc files; a request still starts it. */
    Service(const RcService& rc, bool absent, StateListener listener)
          : mRc(rc),
            mAbsent(absent),
            mListener(std::move(listener)),
            mDisabled(rc.disabled || absent) {}

    const RcService& rc() const { return mRc; }
    bool isDisabled() const { return mDisabled; }
    bool isRunning() const { return mPid > 0; }
    bool isAbsent() const { return mAbsent; }
    pid_t pid() const { return mPid; }

    /** Starts the process unless it runs; enables the service. */
    void start();
    /** Kills the process group; the service stays stopped until it is started. */
    void stop();
    /** Kills the process group and starts the service again once the process has ended. */
    void restart();

    /**
     * To be called when the process has ended. Unless the service is stopped or a oneshot, its
     * restart is due `restartPeriod` after its last start; the rc file's restart_period precedes.
     */
    void onEnd(int waitStatus, std::chrono::milliseconds restartPeriod);
    /** When a restart is due, nothing if none is. */
    std::optional<Clock::time_point> restartTime() const { return mRestartTime; }

  private:
    void kill();
    void runProgram(const std::string& domain) const;
    void makeSockets(const std::string& domain) const;
    void dropPrivileges() const;

    const RcService mRc;
    const bool mAbsent;
    const StateListener mListener;
    bool mDisabled;
    bool mStopping = false;
    bool mStartAfterEnd = false;
    pid_t mPid = -1;
    Clock::time_point mStarted;
    std::optional<Clock::time_point> mRestartTime;
};

}  // namespace zstats::vdevice
