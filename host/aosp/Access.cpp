#include "Access.h"

#include <binder/IPCThreadState.h>
#include <selinux/label.h>
#include <selinux/selinux.h>
#include <utils/Log.h>

#include <cstdarg>
#include <cstring>
#include <memory>

// Replaces the platform's class of this name: checks with SELinux, by service_contexts, which domain
// may find and add which service. The platform's class needs functions that Debian's libselinux lacks.

namespace android {
namespace {

constexpr char kContexts[] = "/etc/selinux/service_contexts";
constexpr char kClass[] = "service_manager";

using Label = std::unique_ptr<char, decltype(&freecon)>;

/**
 * The labels of services. Debian's libselinux lacks the reader of service_contexts; its reader of
 * labels for media files takes the same format: a name and its label, and in the last line "*" for
 * all other names.
 */
selabel_handle* serviceContexts() {
    static selabel_handle* const handle = [] {
        const selinux_opt options[] = {{SELABEL_OPT_PATH, kContexts}};
        selabel_handle* opened = selabel_open(SELABEL_CTX_MEDIA, options, std::size(options));
        LOG_ALWAYS_FATAL_IF(opened == nullptr, "%s is unreadable", kContexts);
        return opened;
    }();
    return handle;
}

/** The label of a caller in this process, whose calls have no label. */
std::string labelOf(pid_t pid) {
    char* label = nullptr;
    return getpidcon(pid, &label) != 0 ? "" : Label(label, freecon).get();
}

/** Sends the library's lines to the log, without their line ends, instead of standard error. */
int logLine(int type, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char text[1024];
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    text[strcspn(text, "\n")] = '\0';
    const int priority = type == SELINUX_AVC ? ANDROID_LOG_ERROR : ANDROID_LOG_INFO;
    return __android_log_write(priority, "selinux", text);
}

/** Adds the subject to the library's line for a denial. */
int describe(void* subject, security_class_t /*objectClass*/, char* text, size_t size) {
    snprintf(text, size, "%s", static_cast<const std::string*>(subject)->c_str());
    return 0;
}

}  // namespace

Access::Access() {
    LOG_ALWAYS_FATAL_IF(getcon(&mThisProcessContext) != 0, "Failed to get own label");
    selinux_callback callback;
    callback.func_log = logLine;
    selinux_set_callback(SELINUX_CB_LOG, callback);
    callback.func_audit = describe;
    selinux_set_callback(SELINUX_CB_AUDIT, callback);
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
    std::string subject = "pid=" + std::to_string(caller.debugPid) +
                          " uid=" + std::to_string(caller.uid) + " name=" + name;
    return selinux_check_access(caller.sid.c_str(), target, kClass, permission, &subject) == 0;
}

bool Access::actionAllowedFromLookup(const CallingContext& caller, const std::string& name,
                                     const char* permission) {
    char* label = nullptr;
    if (selabel_lookup_raw(serviceContexts(), &label, name.c_str(), 0) != 0) return false;
    return actionAllowed(caller, Label(label, freecon).get(), permission, name);
}

}  // namespace android
