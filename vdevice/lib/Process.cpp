#include "vdevice/lib/Process.h"

#include <fcntl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace zstats::vdevice {

android::base::unique_fd childDeaths() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGCHLD);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return android::base::unique_fd(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

void becomeChild() {
    // Signal masks and ignored signals would survive the exec.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
}

void execProgram(const char* path, const char* const* command, const std::array<int, 3>& standard) {
    for (int fd = 0; fd < 3; ++fd) {
        // Not onto itself: the descriptor may be the kernel's, and on arm64 even that call reads
        // its flags, which SELinux denies to init.
        if (standard[fd] != fd) dup2(standard[fd], fd);
    }
    execv(path, const_cast<char* const*>(command));
    perror(path);
    _exit(127);
}

int shellStatus(int waitStatus) {
    constexpr int kSignalBase = 128;
    return WIFSIGNALED(waitStatus) ? kSignalBase + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

}  // namespace zstats::vdevice
