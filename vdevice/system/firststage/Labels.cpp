#include "vdevice/system/firststage/Labels.h"

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <ftw.h>
#include <selinux/label.h>
#include <selinux/selinux.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <optional>

#include "vdevice/system/firststage/StageLog.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

constexpr char kSelinux[] = "/sys/fs/selinux";
constexpr char kLoad[] = "/sys/fs/selinux/load";
constexpr char kPolicy[] = "/etc/selinux/policy";
constexpr char kFileContexts[] = "/etc/selinux/file_contexts";
constexpr char kInitDomain[] = "u:r:init:s0";
constexpr char kProfileFiles[] = "/profile/root/";
constexpr int kOpenFolders = 8;

/** The folders of the image whose files are labelled. */
constexpr const char* kTrees[] = {"/bin",     "/data",   "/dev",    "/etc",        "/lib", "/lib64",
                                  "/profile", "/script", "/system", "/system_ext", "/tmp", "/usr"};

using Label = std::unique_ptr<char, decltype(&freecon)>;

selabel_handle* fileContexts() {
    static selabel_handle* const handle = [] {
        const selinux_opt options[] = {{SELABEL_OPT_PATH, kFileContexts}};
        return selabel_open(SELABEL_CTX_FILE, options, std::size(options));
    }();
    return handle;
}

/** The label of a path; no value if file_contexts does not list it. */
std::optional<std::string> labelOfPath(const std::string& path) {
    if (is_selinux_enabled() != 1) return std::nullopt;
    char* label = nullptr;
    if (selabel_lookup(fileContexts(), &label, path.c_str(), 0) != 0) return std::nullopt;
    return std::string(Label(label, freecon).get());
}

int labelEntry(const char* path, const struct stat* /*status*/, int type, FTW* /*position*/) {
    if (type != FTW_SL) labelFile(path);
    return 0;
}

}  // namespace

std::string loadPolicy() {
    // The library looked for selinuxfs when the process started, before it was mounted.
    set_selinuxmnt(kSelinux);
    std::string policy;
    if (!android::base::ReadFileToString(kPolicy, &policy)) return failed(kPolicy);
    const unique_fd load(open(kLoad, O_WRONLY | O_CLOEXEC));
    const ssize_t written = write(load.get(), policy.data(), policy.size());
    if (written != static_cast<ssize_t>(policy.size())) return failed(kLoad);
    return setcon(kInitDomain) == 0 ? "" : failed(kInitDomain);
}

std::string labelFiles() {
    if (fileContexts() == nullptr) return failed(kFileContexts);
    for (const char* tree : kTrees) nftw(tree, labelEntry, kOpenFolders, FTW_PHYS | FTW_MOUNT);
    return "";
}

void labelFile(const std::string& path) {
    const bool isShown = path.compare(0, strlen(kProfileFiles), kProfileFiles) == 0;
    const auto label = labelOfPath(isShown ? path.substr(strlen(kProfileFiles) - 1) : path);
    if (label && lsetfilecon(path.c_str(), label->c_str()) != 0) {
        STAGE_LOG(WARN, "%s: cannot label it %s: %s", path.c_str(), label->c_str(), strerror(errno));
    }
}

}  // namespace zstats::vdevice
