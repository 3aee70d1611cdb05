#include "Access.h"

#include <binder/IPCThreadState.h>
#include <selinux/selinux.h>
#include <stdlib.h>
#include <utils/Log.h>

#include "host/selinux/Contexts.h"

// Replaces the platform's class of this name: checks with SELinux, by service_contexts, which domain
// may find and add which service. The platform's class needs functions that Debian's libselinux lacks.

namespace android {
namespace {

constexpr char kContexts[] = "/etc/selinux/service_contexts";
constexpr char kClass[] = "service_manager";

const zstats::selinux::Contexts& serviceContexts() {
    static const auto contexts = [] {
        auto read = zstats::selinux::Contexts::read(kContexts);
        LOG_ALWAYS_FATAL_IF(!read, "%s is unreadable", kContexts);
        return *read;
    }();
    return contexts;
}

/** The label of a caller in this process, whose calls have no label. */
std::string labelOf(pid_t pid) {
    char* label = nullptr;
    if (getpidcon(pid, &label) != 0) return "";
    std::string copy = label;
    freecon(label);
    return copy;
}

}  // namespace

Access::Access() {
    LOG_ALWAYS_FATAL_IF(getcon(&mThisProcessContext) != 0, "Failed to get own label");
    serviceContexts();
}

Access::~Access() {
    freecon(mThisProcessContext);
}

Access::CallingContext Access::getCallingContext() {
    IPCThreadState* caller = IPCThreadState::self();
    const char* sid = caller->getCallingSid();
    return {
            caller->getCallingPid(),
            caller->getCallingUid(),
            sid != nullptr ? sid : labelOf(caller->getCallingPid()),
    };
}

bool Access::canFind(const CallingContext& context, const std::string& name) {
    return actionAllowedFromLookup(context, name, "find");
}

bool Access::canAdd(const CallingContext& context, const std::string& name) {
    return actionAllowedFromLookup(context, name, "add");
}

bool Access::canList(const CallingContext& context) {
    return actionAllowed(context, mThisProcessContext, "list", "service_manager");
}

bool Access::actionAllowed(const CallingContext& caller, const char* target, const char* permission,
                           const std::string& name) {
    const std::string subject = "pid=" + std::to_string(caller.debugPid) +
                                " uid=" + std::to_string(caller.uid) + " name=" + name;
    return zstats::selinux::isAllowed(caller.sid, target, kClass, permission, subject);
}

bool Access::actionAllowedFromLookup(const CallingContext& caller, const std::string& name,
                                     const char* permission) {
    return actionAllowed(caller, serviceContexts().ofService(name).c_str(), permission, name);
}

}  // namespace android
