#pragma once

#include <android-base/unique_fd.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "vdevice/common/RcFile.h"

namespace zstats::vdevice {

/** A service of the rc files and its process. Used on init's one thread. */
class Service {
  public:
    using Clock = std::chrono::steady_clock;

    /** Told of each change: "running", "stopping", "restarting" or "stopped". */
    using StateListener = std::function<void(const std::string& name, const std::string& state)>;

    /** `absent`: the profile wants it not started by its class; a request still starts it. */
    Service(const RcService& rc, bool absent, StateListener listener)
          : mRc(rc), mListener(std::move(listener)), mDisabled(rc.disabled || absent) {}

    const RcService& rc() const { return mRc; }
    bool isDisabled() const { return mDisabled; }
    bool isRunning() const { return mPid > 0; }
    pid_t pid() const { return mPid; }
    int outputFd() const { return mOutput.get(); }

    /** Starts the process unless it runs; enables the service. */
    void start();
    /** Kills the process group; the service stays stopped until it is started. */
    void stop();
    /** As stop, and start again once the process is gone. */
    void restart();

    /** The process has ended: decides when it starts again. */
    void onEnd(int waitStatus);
    /** When a restart is due, nothing if none is. */
    std::optional<Clock::time_point> restartTime() const { return mRestartTime; }

    /** Moves what the process wrote to its standard output and error into the log. */
    void collectOutput();

  private:
    void kill();
    void runProgram(int output) const;
    void makeSockets() const;
    void dropPrivileges() const;
    Clock::duration nextDelay();

    const RcService mRc;
    const StateListener mListener;
    bool mDisabled;
    bool mStopping = false;
    bool mStartAfterEnd = false;
    pid_t mPid = -1;
    Clock::time_point mStarted;
    Clock::duration mDelay = Clock::duration::zero();
    std::optional<Clock::time_point> mRestartTime;
    android::base::unique_fd mOutput;
    std::string mPartLine;
};

}  // namespace zstats::vdevice
