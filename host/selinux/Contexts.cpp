#include "host/selinux/Contexts.h"

#include <android-base/file.h>
#include <android/log.h>
#include <selinux/selinux.h>

#include <cstdarg>
#include <cstring>
#include <sstream>

namespace zstats::selinux {
namespace {

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

void setCallbacks() {
    static const bool once = [] {
        selinux_callback callback;
        callback.func_log = logLine;
        selinux_set_callback(SELINUX_CB_LOG, callback);
        callback.func_audit = describe;
        selinux_set_callback(SELINUX_CB_AUDIT, callback);
        return true;
    }();
    (void)once;
}

}  // namespace

std::optional<Contexts> Contexts::read(const std::string& path) {
    std::string text;
    if (!android::base::ReadFileToString(path, &text)) return std::nullopt;
    Contexts contexts;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name, label;
        words >> name >> label;
        if (label.empty() || name[0] == '#') continue;
        if (name == "*") {
            contexts.mOthers = label;
        } else {
            contexts.mLines.push_back({name, label});
        }
    }
    return contexts;
}

std::string Contexts::ofService(const std::string& name) const {
    for (const Line& line : mLines) {
        if (line.name == name) return line.label;
    }
    return mOthers;
}

bool isAllowed(const std::string& from, const std::string& to, const char* objectClass,
               const char* permission, const std::string& subject) {
    setCallbacks();
    return !to.empty() && selinux_check_access(from.c_str(), to.c_str(), objectClass, permission,
                                               const_cast<std::string*>(&subject)) == 0;
}

}  // namespace zstats::selinux
