#pragma once

#include <android-base/unique_fd.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "vdevice/system/init/ActionQueue.h"
#include "vdevice/system/init/PropertyService.h"
#include "vdevice/system/init/RcFile.h"
#include "vdevice/system/init/ScriptHost.h"
#include "vdevice/system/init/Service.h"

namespace zstats::vdevice {

/** The device's first process, from the rc files to the power-off. One thread. */
class Init {
  public:
    Init();

    /** Boots and serves until the script or console ends. */
    void run();

  private:
    /** File systems, binder, the policy and all labels. Returns what went wrong, empty if nothing. */
    static std::string bootSystem();
    /** Everything from there to the first service. Returns what went wrong, empty if nothing. */
    std::string prepare();
    std::string readRcFiles();
    std::string fileServices(const std::vector<RcService>& services);
    void startWatch();
    void endWatch();
    /** Has onWatchAnswer called once the services named (blank-separated) are registered. */
    void watchFor(const std::string& names);

    void loop();
    int millisecondsToRestart() const;
    std::chrono::milliseconds restartPeriod() const;
    void restartDue();
    void reapChildren();
    void onWatchAnswer();
    std::string interfacesOfRunningServices() const;

    void runActions();
    void execute(const RcCommand& command);
    void startClass(const std::string& name);
    void startFromRc(const std::string& name);
    bool control(const std::string& action, const std::string& name);
    Service* find(const std::string& name) const;
    void onServiceState(const std::string& name, const std::string& state);
    /** Stores the daemon's first state. */
    void daemonIs(const std::string& state);
    /** Starts the script when all services are registered and the daemon's first state is known. */
    void beginIfReady();

    std::vector<std::unique_ptr<Service>> mServices;
    std::unique_ptr<ScriptHost> mScriptHost;
    PropertyService mProperties;
    ActionQueue mActions;
    android::base::unique_fd mDeaths;
    android::base::unique_fd mWatch;
    pid_t mWatchPid = -1;
    /** What the watch waits for. */
    enum class Stage { kManager, kServices, kDaemon, kNothing } mStage = Stage::kManager;
    std::string mDaemonState;
    bool mBegun = false;
    bool mEnded = false;
};

}  // namespace zstats::vdevice
