#include "vdevice/system/statsd/Companion.h"

#include <aidl/android/os/IStatsCompanionService.h>
#include <android/binder_ibinder.h>
#include <android/binder_manager.h>

namespace zstats::vdevice {
namespace {

/** Waits up to 5 s, as statsd does. The call is deprecated because it waits. */
ndk::SpAIBinder findCompanion() {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    return ndk::SpAIBinder(AServiceManager_getService("statscompanion"));
#pragma GCC diagnostic pop
}

}  // namespace

bool companionGrants(const char* permission) {
    using aidl::android::os::IStatsCompanionService;
    const auto companion = IStatsCompanionService::fromBinder(findCompanion());
    bool granted = false;
    return companion != nullptr &&
           companion
                   ->checkPermission(permission, AIBinder_getCallingPid(),
                                     static_cast<int32_t>(AIBinder_getCallingUid()), &granted)
                   .isOk() &&
           granted;
}

}  // namespace zstats::vdevice
