#include "vdevice/statsd/Companion.h"

#include <aidl/android/os/IStatsCompanionService.h>
#include <android/binder_ibinder.h>
#include <android/binder_manager.h>

namespace zstats::vdevice {

bool companionGrants(const char* permission) {
    using aidl::android::os::IStatsCompanionService;
    const ndk::SpAIBinder binder(AServiceManager_getService("statscompanion"));
    const auto companion = IStatsCompanionService::fromBinder(binder);
    bool granted = false;
    return companion != nullptr &&
           companion
                   ->checkPermission(permission, AIBinder_getCallingPid(),
                                     static_cast<int32_t>(AIBinder_getCallingUid()), &granted)
                   .isOk() &&
           granted;
}

}  // namespace zstats::vdevice
