#include <android-base/file.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "vdevice/lib/Process.h"
#include "vdevice/system/shelltools/Tools.h"

namespace zstats::vdevice {

int inptyMain(const Arguments& arguments) {
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child < 0) {
        perror("inpty");
        return 1;
    }
    if (child == 0) _exit(runCommand("inpty", arguments));
    char buffer[4096];
    ssize_t count = 0;
    // The read fails when no process has the terminal open.
    while ((count = read(terminal, buffer, sizeof(buffer))) > 0) {
        android::base::WriteFully(STDOUT_FILENO, buffer, static_cast<size_t>(count));
    }
    int status = 0;
    waitpid(child, &status, 0);
    return shellStatus(status);
}

}  // namespace zstats::vdevice
