#pragma once

#include <android-base/unique_fd.h>

#include <memory>
#include <string>
#include <vector>

#include "vdevice/common/RcFile.h"
#include "vdevice/init/PropertyService.h"
#include "vdevice/init/ScriptHost.h"
#include "vdevice/init/Service.h"

namespace zstats::vdevice {

/** The device's first process, from the rc files to the power-off. One thread. */
class Init {
  public:
    Init();

    /** Boots and serves until the script or console ends. */
    void run();

  private:
    /** Everything up to the first service. Returns what went wrong, empty if nothing. */
    std::string prepare();
    std::string readRcFiles();
    /** Asks for word, on mWatch, that the services named (blank-separated) are registered. */
    void watchFor(const std::string& names);
    void startWatch();

    void loop();
    int millisecondsToRestart() const;
    void restartDue();
    void reapChildren();
    void onWatchAnswer();

    void trigger(const std::string& name);
    void execute(const std::vector<std::string>& command);
    void startClass(const std::string& name);
    bool control(const std::string& action, const std::string& name);
    Service* find(const std::string& name) const;
    void onServiceState(const std::string& name, const std::string& state);
    /** The script may begin: the daemon is up, or has refused. */
    void ready(const std::string& state);

    std::vector<std::unique_ptr<Service>> mServices;
    std::vector<RcAction> mActions;
    std::unique_ptr<ScriptHost> mScriptHost;
    PropertyService mProperties;
    android::base::unique_fd mDeaths;
    android::base::unique_fd mWatch;
    enum class Stage { kManager, kServices, kDaemon, kUp } mStage = Stage::kManager;
    bool mEnded = false;
};

}  // namespace zstats::vdevice
