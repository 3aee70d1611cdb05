#include "sources/ServiceLookup.h"

#include <android/binder_manager.h>
#include <binder/IServiceManager.h>
#include <utils/String16.h>

#include <string>

namespace zstats {

ServiceLookup lookUpService(const char* name) {
    const android::sp<android::IServiceManager> manager = android::defaultServiceManager();
    if (manager == nullptr) return {false, nullptr};
    return {true, manager->checkService(android::String16(name))};
}

ndk::SpAIBinder lookUpDefaultInstance(const char* descriptor) {
    const std::string instance = std::string(descriptor) + "/default";
    return ndk::SpAIBinder(AServiceManager_checkService(instance.c_str()));
}

}  // namespace zstats
