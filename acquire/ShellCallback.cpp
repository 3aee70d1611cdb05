#include <fcntl.h>
#include <selinux/selinux.h>
#include <sys/stat.h>
#include <utils/String8.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <utility>

#include "acquire/Cmd.h"

namespace zstats {

using android::endl;
using android::String16;
using android::String8;
using android::base::unique_fd;

namespace {

/** How a mode opens a file, and which permissions it needs. */
struct OpenMode {
    const char16_t* name;
    int flags;
    bool checkRead;
    bool checkWrite;
};

constexpr OpenMode kOpenModes[] = {
        {u"w", O_WRONLY | O_CREAT | O_TRUNC, false, true},
        {u"w+", O_RDWR | O_CREAT | O_TRUNC, true, true},
        {u"r", O_RDONLY, true, false},
        {u"r+", O_RDWR, true, true},
};

constexpr mode_t kNewFileMode = S_IRWXU | S_IRWXG;

std::string toUtf8(const String16& text) {
    return String8(text).c_str();
}

/** Null for an unknown mode. */
const OpenMode* findOpenMode(const String16& name) {
    for (const OpenMode& mode : kOpenModes) {
        if (name == String16(mode.name)) return &mode;
    }
    return nullptr;
}

/** `path` joined to the current directory, unless it is absolute. */
std::string fullPath(const std::string& path) {
    std::error_code ignored;
    const std::filesystem::path directory = std::filesystem::current_path(ignored);
    return path.empty() ? directory.string() : (directory / path).string();
}

using FileContext = std::unique_ptr<char, decltype(&freecon)>;

/** The file's security context; null when it cannot be read. */
FileContext fileContext(const std::string& path) {
    char* context = nullptr;
    if (getfilecon(path.c_str(), &context) < 0) context = nullptr;
    return FileContext(context, freecon);
}

/** True when SELinux grants `context` this permission to a file with `fileContext`. */
bool granted(const std::string& context, const char* fileContext, const char* permission) {
    return selinux_check_access(context.c_str(), fileContext, "file", permission, nullptr) == 0;
}

}  // namespace

unique_fd MyShellCallback::checked(unique_fd fd, const std::string& path,
                                   const std::string& context, bool read, bool write) {
    const FileContext owner = fileContext(path);
    // An unreadable context is checked as an empty one, which an enforcing policy refuses.
    const char* file = owner != nullptr ? owner.get() : "";
    // Write before read: the line names the first permission that is missing.
    const char* refused = nullptr;
    if (write && !granted(context, file, "write")) {
        refused = "System server has no access to write file context ";
    } else if (read && !granted(context, file, "read")) {
        refused = "System server has no access to read file context ";
    }
    if (refused == nullptr) return fd;
    fd.reset();
    mErrorLog << refused << file << " (from path " << path << ", context " << context << ")" << endl;
    return fd;
}

int MyShellCallback::openFile(const String16& path, const String16& seLinuxContext,
                              const String16& mode) {
    const std::string full = fullPath(toUtf8(path));
    if (!mActive.load()) {
        mErrorLog << "Open attempt after active for: " << full << endl;
        return -EPERM;
    }
    const OpenMode* openMode = findOpenMode(mode);
    if (openMode == nullptr) {
        mErrorLog << "Invalid mode requested: " << toUtf8(mode) << endl;
        return -EINVAL;
    }
    unique_fd fd(open(full.c_str(), openMode->flags, kNewFileMode));
    if (!fd.ok()) return -1;
    if (is_selinux_enabled() && !seLinuxContext.empty()) {
        fd = checked(std::move(fd), full, toUtf8(seLinuxContext), openMode->checkRead,
                     openMode->checkWrite);
        if (!fd.ok()) return -EPERM;
    }
    return fd.release();
}

}  // namespace zstats
