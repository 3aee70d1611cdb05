#include "daemon/Startup.h"

#include <android-base/properties.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <cutils/properties.h>
#include <signal.h>

#include "acquire/AtomsAcquireService.h"
#include "daemon/ZstatsPullerService.h"
#include "daemon/base/Log.h"
#include "daemon/base/SystemHelpers.h"
#include "vendor/include/feature_switch.h"

namespace zstats {

using android::IPCThreadState;
using android::IServiceManager;
using android::ProcessState;
using android::sp;
using android::String16;

namespace {

constexpr char kServiceName[] = "zstats_pullerd";
constexpr char kFeatureName[] = "os.tool.quill.zstats_pullerd.enable";
constexpr int kMinMemTotalKb = 4194304;
constexpr size_t kMaxBinderThreads = 4;

/** Asks init to stop the service, because init would restart it. Returns false. */
bool refuse() {
    property_set("ctl.stop", kServiceName);
    return false;
}

bool isFeatureEnabled() {
    if (isOsFeatureEnabled(kFeatureName)) return true;
    ZLOG(INFO, "%s disabled.", kFeatureName);
    return false;
}

/** A commercial build on a small device runs only with the start override. */
bool isStartForced() {
    if (android::base::GetProperty("persist.sys.zstats_pullerd.start", "0") != "1") {
        ZLOG(INFO, "It is Commercial Version, less than 4GB, zstats_pullerd is disabled.");
        return false;
    }
    ZLOG(DEBUG, "It is Commercial Version, less than 4GB, start prop is true.");
    return true;
}

bool publish(const char* name, const sp<android::IBinder>& service) {
    const sp<IServiceManager> manager = android::defaultServiceManager();
    return manager != nullptr &&
           manager->addService(String16(name), service, false,
                               IServiceManager::DUMP_FLAG_PRIORITY_DEFAULT) == android::OK;
}

void joinBinderThreads() {
    // The maximum first: some platforms do not let it be lowered once the pool has started.
    const sp<ProcessState> process = ProcessState::self();
    process->setThreadPoolMaxThreadCount(kMaxBinderThreads);
    process->startThreadPool();
    process->giveThreadPoolName();
    IPCThreadState::self()->joinThreadPool(true);
}

}  // namespace

bool mayRun() {
    return mayRunWith(checkMemTotalOk);
}

bool mayRunWith(const std::function<bool(int)>& memTotalOk) {
    if (!isFeatureEnabled()) return refuse();
    ZLOG(DEBUG, "process isolation feature is enable.");
    // The order matters: each check writes log lines, so later ones run only if they decide.
    if (!memTotalOk(kMinMemTotalKb) && isCommercialVersion() && !isStartForced()) return refuse();
    ZLOG(DEBUG, "start zstats_pullerd.");
    return true;
}

int publishAndServe() {
    ZLOG(INFO, "%s daemon start", kServiceName);
    const sp<AtomsAcquireService> acquireService(new AtomsAcquireService());
    if (!publish("atomacq", acquireService)) {
        ZLOG(ERROR, "Failed to add atomacq service");
        return -1;
    }
    ZLOG(INFO, "addService atomacq service success.");

    // The constructor registers the atoms with statsd. Publish "atomacq" first: if that fails, no
    // atom must be registered.
    const sp<ZstatsPullerService> pullerService(new ZstatsPullerService());
    if (!publish(kServiceName, pullerService)) {
        ZLOG(ERROR, "Failed to add %s service", kServiceName);
        return -1;
    }
    ZLOG(INFO, "addService %s success.", kServiceName);

    joinBinderThreads();
    ZLOG(INFO, "%s daemon end", kServiceName);
    // Both services end here, the main one first: the kernel channel has to be closed before static
    // destructors run.
    return 0;
}

int runDaemon() {
    // Dumps and subscriptions are written to pipes whose reader may have closed its end.
    signal(SIGPIPE, SIG_IGN);
    return mayRun() ? publishAndServe() : -1;
}

}  // namespace zstats
