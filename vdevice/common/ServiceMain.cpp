#include "vdevice/common/ServiceMain.h"

#include <android/binder_manager.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include <cstdio>
#include <cstdlib>

namespace zstats::vdevice {
namespace {

void dieUnless(bool published, const std::string& name, int status) {
    if (published) return;
    fprintf(stderr, "cannot publish %s: status %d\n", name.c_str(), status);
    exit(EXIT_FAILURE);
}

}  // namespace

void publishOrDie(const std::string& name, AIBinder* binder) {
    const auto status = AServiceManager_addService(binder, name.c_str());
    dieUnless(status == 0, name, status);
}

void publishOrDie(const std::string& name, const android::sp<android::IBinder>& binder) {
    const auto status =
            android::defaultServiceManager()->addService(android::String16(name.c_str()), binder);
    dieUnless(status == 0, name, status);
}

int serve() {
    android::ProcessState::self()->startThreadPool();
    android::IPCThreadState::self()->joinThreadPool();
    return EXIT_SUCCESS;
}

}  // namespace zstats::vdevice
