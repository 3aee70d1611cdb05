#include <selinux/android.h>
#include <selinux/restorecon.h>
#include <selinux/selinux.h>

// Labels of files. A phone's libselinux knows the path of file_contexts and the labels of apps;
// Debian's needs the path, and there are no apps.

namespace {

constexpr char kFileContexts[] = "/etc/selinux/file_contexts";

}  // namespace

selabel_handle* selinux_android_file_context_handle() {
    const selinux_opt options[] = {{SELABEL_OPT_PATH, kFileContexts}};
    return selabel_open(SELABEL_CTX_FILE, options, 1);
}

void selinux_android_set_sehandle(const selabel_handle* handle) {
    selinux_restorecon_set_sehandle(const_cast<selabel_handle*>(handle));
}

int selinux_android_restorecon(const char* path, unsigned int flags) {
    unsigned int options = SELINUX_RESTORECON_SET_SPECFILE_CTX | SELINUX_RESTORECON_IGNORE_DIGEST |
                           SELINUX_RESTORECON_IGNORE_NOENTRY | SELINUX_RESTORECON_IGNORE_MOUNTS;
    if ((flags & SELINUX_ANDROID_RESTORECON_RECURSE) != 0) options |= SELINUX_RESTORECON_RECURSE;
    return selinux_restorecon(path, options);
}
