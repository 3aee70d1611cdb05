#include "vdevice/system/scripthost/ScriptHost.h"

#include <android-base/file.h>
#include <android-base/properties.h>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "vdevice/lib/Process.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

constexpr char kLogPath[] = "/dev/log/main";
constexpr char kReadyProperty[] = "vdev.ready";
constexpr int kHeartbeatMs = 5000;

/** Readable once the property is set. */
unique_fd readiness() {
    unique_fd ready(eventfd(0, EFD_CLOEXEC));
    std::thread([fd = ready.get()] {
        android::base::WaitForPropertyCreation(kReadyProperty);
        eventfd_write(fd, 1);
    }).detach();
    return ready;
}

}  // namespace

ScriptHost::ScriptHost()
      : mLog(open(kLogPath, O_RDONLY | O_CLOEXEC)),
        mLogChanges(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
        mDeaths(childDeaths()),
        mReady(readiness()) {
    inotify_add_watch(mLogChanges.get(), kLogPath, IN_MODIFY);
}

void ScriptHost::run() {
    passLog();
    while (!mEnded) {
        pollfd waiting[] = {{mReady.get(), static_cast<short>(mScript < 0 ? POLLIN : 0), 0},
                            {mLogChanges.get(), POLLIN, 0},
                            {mDeaths.get(), POLLIN, 0},
                            {mOutput.get(), POLLIN, 0},
                            {mErrors.get(), POLLIN, 0},
                            {mKernelLog.fd(), POLLIN, 0},
                            {mConsole.get(), POLLIN, 0},
                            {mTerminal.get(), POLLIN, 0}};
        if (poll(waiting, std::size(waiting), kHeartbeatMs) == 0) {
            mChannel.send(FrameType::kHeartbeat, "");
        }
        if (waiting[5].revents != 0) mKernelLog.pass();
        if (waiting[1].revents != 0) passLog();
        if (waiting[3].revents != 0) passOnce(&mOutput, FrameType::kOutput);
        if (waiting[4].revents != 0) passOnce(&mErrors, FrameType::kErrors);
        if (waiting[6].revents != 0) passConsole(mConsole.get(), mTerminal.get());
        if (waiting[7].revents != 0) passConsole(mTerminal.get(), mConsole.get());
        if (waiting[2].revents != 0) collectChildren();
        if (waiting[0].revents != 0) begin();
    }
    mChannel.drain();
}

void ScriptHost::passLog() {
    char buffer[16384];
    while (read(mLogChanges.get(), buffer, sizeof(buffer)) > 0) {
    }
    ssize_t count = 0;
    while ((count = read(mLog.get(), buffer, sizeof(buffer))) > 0) {
        mChannel.send(FrameType::kLog, {buffer, static_cast<size_t>(count)});
    }
}

/** Passes on what can be read; false if nothing can. Closes `from` at its end. */
bool ScriptHost::passOnce(unique_fd* from, FrameType type) {
    char buffer[16384];
    const ssize_t count = read(from->get(), buffer, sizeof(buffer));
    if (count > 0) mChannel.send(type, {buffer, static_cast<size_t>(count)});
    if (count == 0) from->reset();
    return count > 0;
}

void ScriptHost::passConsole(int from, int to) {
    char buffer[4096];
    const ssize_t count = read(from, buffer, sizeof(buffer));
    if (count > 0) {
        android::base::WriteFully(to, buffer, static_cast<size_t>(count));
    } else if (from == mTerminal.get()) {
        mTerminal.reset();  // the shell and all that it left have ended
    }
}

void ScriptHost::collectChildren() {
    signalfd_siginfo info;
    while (read(mDeaths.get(), &info, sizeof(info)) > 0) {
    }
    int status = 0;
    for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
        if (pid == mScript) finish(shellStatus(status));
    }
}

/** Ends with the script itself: background processes that it left may keep the pipes open. */
void ScriptHost::finish(int32_t status) {
    while (passOnce(&mOutput, FrameType::kOutput)) {
    }
    while (passOnce(&mErrors, FrameType::kErrors)) {
    }
    mKernelLog.pass();
    passLog();
    mChannel.send(FrameType::kExit, {reinterpret_cast<const char*>(&status), sizeof(status)});
    mEnded = true;
}

void ScriptHost::begin() {
    mChannel.send(FrameType::kState, android::base::GetProperty(kReadyProperty, ""));
    if (access(kScriptPath, F_OK) == 0) {
        startScript();
    } else {
        startConsole();
    }
}

void ScriptHost::startScript() {
    int output[2];
    int errors[2];
    if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0) return;
    mScript = fork();
    if (mScript == 0) {
        becomeChild();
        setsid();
        const unique_fd input(open("/dev/null", O_RDONLY | O_CLOEXEC));
        const char* const command[] = {"sh", kScriptPath, nullptr};
        execProgram("/bin/sh", command, {input.get(), output[1], errors[1]});
    }
    mOutput.reset(output[0]);
    mErrors.reset(errors[0]);
    for (const int fd : {output[0], errors[0]}) fcntl(fd, F_SETFL, O_NONBLOCK);
    close(output[1]);
    close(errors[1]);
}

void ScriptHost::startConsole() {
    mConsole.reset(open(serialPort("VDEV_CONSOLE"), O_RDWR | O_NOCTTY | O_CLOEXEC));
    // Lines are edited, and signals made, by the pseudo-terminal.
    termios settings = {};
    tcgetattr(mConsole.get(), &settings);
    cfmakeraw(&settings);
    tcsetattr(mConsole.get(), TCSANOW, &settings);
    int terminal = -1;
    mScript = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (mScript == 0) {
        becomeChild();
        const char* const command[] = {"-sh", nullptr};
        execProgram("/bin/sh", command, {0, 1, 2});
    }
    mTerminal.reset(terminal);
}

}  // namespace zstats::vdevice
