#include "vdevice/lib/ServiceMain.h"

#include <android/binder_libbinder.h>
#include <android/log.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <unistd.h>

#include <cstdlib>

#include "vdevice/lib/FaultyBinder.h"

namespace zstats::vdevice {

void publishOrDie(const std::string& name, AIBinder* binder) {
    publishOrDie(name, AIBinder_toPlatformBinder(binder));
}

void publishOrDie(const std::string& name, const android::sp<android::IBinder>& binder) {
    // Every stand-in can be made faulty by the profile, without code of its own.
    const android::sp<android::IBinder> published(new FaultyBinder(name, binder));
    const auto status = android::defaultServiceManager()->addService(
            android::String16(name.c_str()), published);
    if (status == android::OK) return;
    // Also to the log, because init discards a service's standard error.
    __android_log_print(ANDROID_LOG_ERROR, "vdevice", "cannot publish %s: status %d", name.c_str(),
                        status);
    exit(EXIT_FAILURE);
}

void waitForService(const std::string& name) {
    // Not libbinder's wait, which looks only once a second.
    constexpr useconds_t kPollMicros = 10'000;
    const android::String16 name16(name.c_str());
    while (android::defaultServiceManager()->checkService(name16) == nullptr) usleep(kPollMicros);
}

void startBinderThreads() {
    android::ProcessState::self()->startThreadPool();
}

int serveBinderCalls() {
    startBinderThreads();
    android::IPCThreadState::self()->joinThreadPool();
    return EXIT_SUCCESS;
}

}  // namespace zstats::vdevice
