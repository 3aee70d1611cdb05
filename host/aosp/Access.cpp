#include "Access.h"

#include <binder/IPCThreadState.h>

// servicemanager's access checks for a system without SELinux service contexts: every caller may do
// everything. The platform's own, compiled off a device, takes every caller for root.

namespace android {

Access::Access() = default;
Access::~Access() = default;

Access::CallingContext Access::getCallingContext() {
    IPCThreadState* caller = IPCThreadState::self();
    const char* sid = caller->getCallingSid();
    return {
            caller->getCallingPid(),
            caller->getCallingUid(),
            sid != nullptr ? sid : "",
    };
}

bool Access::canFind(const CallingContext& /*context*/, const std::string& /*name*/) {
    return true;
}

bool Access::canAdd(const CallingContext& /*context*/, const std::string& /*name*/) {
    return true;
}

bool Access::canList(const CallingContext& /*context*/) {
    return true;
}

}  // namespace android
