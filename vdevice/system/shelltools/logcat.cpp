#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cstdio>

#include "vdevice/system/shelltools/Tools.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

constexpr char kLogPath[] = "/dev/log/main";

/** Prints the unread part of the log; false if standard output fails. */
bool printNew(int log) {
    char buffer[16384];
    ssize_t count = 0;
    while ((count = read(log, buffer, sizeof(buffer))) > 0) {
        if (!android::base::WriteFully(STDOUT_FILENO, buffer, static_cast<size_t>(count))) {
            return false;
        }
    }
    return true;
}

void follow(int log) {
    const unique_fd changes(inotify_init1(IN_CLOEXEC));
    inotify_add_watch(changes.get(), kLogPath, IN_MODIFY);
    char events[4096];
    while (printNew(log) && read(changes.get(), events, sizeof(events)) > 0) {
    }
}

}  // namespace

int logcatMain(bool dump) {
    const unique_fd log(open(kLogPath, O_RDONLY | O_CLOEXEC));
    if (!log.ok()) {
        perror(kLogPath);
        return 1;
    }
    if (dump) {
        printNew(log.get());
    } else {
        follow(log.get());
    }
    return 0;
}

}  // namespace zstats::vdevice
