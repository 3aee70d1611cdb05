#include "vdevice/system/firststage/Boot.h"

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>

#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/system/firststage/OverlayPlan.h"
#include "vdevice/system/firststage/ProcLinks.h"
#include "vdevice/system/firststage/StageLog.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

/** From here init loads the system's properties. */
constexpr char kBuildProp[] = "/system/build.prop";
constexpr char kModule[] = "/lib/modules/binder_linux.ko";
/** Limits the process ids: a replaced /proc gets one link for each possible id. */
constexpr int kMaxPid = 4096;
constexpr rlim_t kMaxDescriptors = 32768;

struct FileSystem {
    const char* type;
    const char* path;
    const char* options;
};

constexpr FileSystem kFileSystems[] = {
        {"devtmpfs", "/dev", "mode=755"},
        {"proc", "/.kernel/proc", ""},
        {"sysfs", "/.kernel/sys", ""},
        {"proc", "/proc", ""},
        {"sysfs", "/sys", ""},
        {"devpts", "/dev/pts", ""},
        {"tmpfs", "/dev/shm", "mode=1777"},
        {"selinuxfs", "/.kernel/sys/fs/selinux", ""},
        {"selinuxfs", "/sys/fs/selinux", ""},
};

/** Options of a folder that replaces one of the kernel's. Its entries inherit the label. */
constexpr char kReplacedFolder[] = "mode=755,rootcontext=u:object_r:replaced_folder:s0";

/** Mounted after the policy is loaded, because files get labels only then. */
constexpr FileSystem kLabelledFileSystems[] = {{"tmpfs", "/tmp", "mode=1777"},
                                               {"tmpfs", "/data", "mode=771"}};

void mountOne(const FileSystem& fileSystem) {
    mkdir(fileSystem.path, 0755);
    mount(fileSystem.type, fileSystem.path, fileSystem.type, 0, fileSystem.options);
}

bool apply(const OverlayStep& step) {
    const char* path = step.path.c_str();
    switch (step.kind) {
        case OverlayStep::Kind::kTmpfs:
            return mount("tmpfs", path, "tmpfs", 0, kReplacedFolder) == 0;
        case OverlayStep::Kind::kFolder:
            return mkdir(path, 0755) == 0 || errno == EEXIST;
        case OverlayStep::Kind::kFile:
            return unique_fd(open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0644)).ok();
        case OverlayStep::Kind::kLink:
            return symlink(step.source.c_str(), path) == 0;
        case OverlayStep::Kind::kBind:
            return mount(step.source.c_str(), path, nullptr, MS_BIND, nullptr) == 0;
    }
    return false;
}

}  // namespace

void mountFileSystems() {
    umask(0);  // the modes below are exact
    for (const FileSystem& fileSystem : kFileSystems) mountOne(fileSystem);
    // The kernel must log every denial, because tests rely on their absence.
    android::base::WriteStringToFile("0", "/proc/sys/kernel/printk_ratelimit");
    // Init logs to the kernel's log, which must not drop lines.
    android::base::WriteStringToFile("on\n", "/proc/sys/kernel/printk_devkmsg");
    mkdir("/dev/log", 0755);
    mkdir("/dev/socket", 0755);
    mkdir("/dev/__properties__", 0711);  // here, so that it is labelled before init uses it
    close(open("/dev/log/main", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666));
}

void raiseDescriptorLimit() {
    const rlimit limit = {kMaxDescriptors, kMaxDescriptors};
    setrlimit(RLIMIT_NOFILE, &limit);
}

std::string loadBinder() {
    const unique_fd module(open(kModule, O_RDONLY | O_CLOEXEC));
    if (syscall(SYS_finit_module, module.get(), "", 0) != 0) return failed(kModule);
    // On a phone, ueventd sets this mode.
    if (chmod("/dev/binder", 0666) != 0) return failed("/dev/binder");
    return "";
}

void mountLabelledFileSystems() {
    for (const FileSystem& fileSystem : kLabelledFileSystems) mountOne(fileSystem);
}

std::string showBuildProp() {
    return link(profilePath(profile::kBuildProp).c_str(), kBuildProp) == 0 ? "" : failed(kBuildProp);
}

std::string showProfileFiles() {
    const std::string overlay = profilePath(profile::kRoot);
    if (access(overlay.c_str(), F_OK) != 0) return "";
    android::base::WriteStringToFile(std::to_string(kMaxPid), "/proc/sys/kernel/pid_max");
    try {
        for (const auto& step : planOverlay(overlay, kKernelTrees, kKernelTrees, kMaxPid)) {
            if (!apply(step)) return failed("root" + step.path);
            if (step.kind == OverlayStep::Kind::kTmpfs && step.path == "/proc") hideThreads();
        }
    } catch (const std::filesystem::filesystem_error& error) {
        return error.what();
    }
    return "";
}

}  // namespace zstats::vdevice
