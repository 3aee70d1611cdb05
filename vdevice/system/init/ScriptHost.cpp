#include "vdevice/system/init/ScriptHost.h"

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <poll.h>
#include <selinux/selinux.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "vdevice/system/init/Channel.h"
#include "vdevice/system/init/Process.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

constexpr char kLogPath[] = "/dev/log/main";
constexpr char kRootShell[] = "u:r:su:s0";
constexpr int kHeartbeatMs = 5000;
constexpr char kBegin = 'b';
constexpr char kRefuse = 'r';

/** What this process runs next is in the domain of a developer's root shell. */
void becomeRootShell() {
    if (setexeccon(kRootShell) != 0) perror(kRootShell);
}

/** What the forked process runs. */
class ScriptProcess {
  public:
    explicit ScriptProcess(int orders)
          : mOrders(orders),
            mLog(open(kLogPath, O_RDONLY | O_CLOEXEC)),
            mLogChanges(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
            mDeaths(childDeaths()) {
        inotify_add_watch(mLogChanges.get(), kLogPath, IN_MODIFY);
    }

    [[noreturn]] void run() {
        while (!mEnded) {
            pollfd waiting[] = {{mOrders.get(), POLLIN, 0},
                                {mLogChanges.get(), POLLIN, 0},
                                {mDeaths.get(), POLLIN, 0},
                                {mOutput.get(), POLLIN, 0},
                                {mErrors.get(), POLLIN, 0}};
            if (poll(waiting, std::size(waiting), kHeartbeatMs) == 0) {
                mChannel.send(FrameType::kHeartbeat, "");
            }
            if (waiting[1].revents != 0) passLog();
            if (waiting[3].revents != 0) passOnce(&mOutput, FrameType::kOutput);
            if (waiting[4].revents != 0) passOnce(&mErrors, FrameType::kErrors);
            if (waiting[2].revents != 0) collectChildren();
            if (waiting[0].revents != 0) takeOrder();
        }
        mChannel.drain();
        _exit(0);
    }

  private:
    void passLog() {
        char buffer[16384];
        while (read(mLogChanges.get(), buffer, sizeof(buffer)) > 0) {
        }
        ssize_t count = 0;
        while ((count = read(mLog.get(), buffer, sizeof(buffer))) > 0) {
            mChannel.send(FrameType::kLog, {buffer, static_cast<size_t>(count)});
        }
    }

    /** Passes on what can be read; false if nothing can. Closes `from` at its end. */
    bool passOnce(unique_fd* from, FrameType type) {
        char buffer[16384];
        const ssize_t count = read(from->get(), buffer, sizeof(buffer));
        if (count > 0) mChannel.send(type, {buffer, static_cast<size_t>(count)});
        if (count == 0) from->reset();
        return count > 0;
    }

    void collectChildren() {
        signalfd_siginfo info;
        while (read(mDeaths.get(), &info, sizeof(info)) > 0) {
        }
        int status = 0;
        for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
            if (pid == mScript) finish(shellStatus(status));
        }
    }

    /** Ends with the script itself: background processes that it left may keep the pipes open. */
    void finish(int32_t status) {
        while (passOnce(&mOutput, FrameType::kOutput)) {
        }
        while (passOnce(&mErrors, FrameType::kErrors)) {
        }
        passLog();
        mChannel.send(FrameType::kExit, {reinterpret_cast<const char*>(&status), sizeof(status)});
        mEnded = true;
    }

    void takeOrder() {
        char buffer[4096];
        const ssize_t count = read(mOrders.get(), buffer, sizeof(buffer));
        if (count <= 0) return mOrders.reset();
        const std::string_view text(buffer + 1, static_cast<size_t>(count - 1));
        if (buffer[0] == kRefuse) {
            passLog();
            mChannel.send(FrameType::kRefusal, text);
            mEnded = true;
            return;
        }
        mChannel.send(FrameType::kState, text);
        if (access(kScriptPath, F_OK) == 0) {
            startScript();
        } else {
            startConsole();
        }
    }

    void startScript() {
        int output[2];
        int errors[2];
        if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0) return;
        mScript = fork();
        if (mScript == 0) {
            becomeChild();
            setsid();
            const unique_fd input(open("/dev/null", O_RDONLY | O_CLOEXEC));
            becomeRootShell();
            const char* const command[] = {"sh", kScriptPath, nullptr};
            execProgram("/bin/sh", command, {input.get(), output[1], errors[1]});
        }
        mOutput.reset(output[0]);
        mErrors.reset(errors[0]);
        for (const int fd : {output[0], errors[0]}) fcntl(fd, F_SETFL, O_NONBLOCK);
        close(output[1]);
        close(errors[1]);
    }

    void startConsole() {
        mScript = fork();
        if (mScript != 0) return;
        becomeChild();
        setsid();
        const int console = open(serialPort("VDEV_CONSOLE"), O_RDWR);
        ioctl(console, TIOCSCTTY, 0);
        becomeRootShell();
        const char* const command[] = {"-sh", nullptr};
        execProgram("/bin/sh", command, {console, console, console});
    }

    Channel mChannel;
    unique_fd mOrders;
    const unique_fd mLog;
    const unique_fd mLogChanges;
    const unique_fd mDeaths;
    unique_fd mOutput;
    unique_fd mErrors;
    pid_t mScript = -1;
    bool mEnded = false;
};

}  // namespace

ScriptHost::ScriptHost() {
    int orders[2];
    if (pipe2(orders, O_CLOEXEC) != 0) return;
    mPid = fork();
    if (mPid == 0) {
        close(orders[1]);
        prctl(PR_SET_NAME, "scripthost");
        ScriptProcess(orders[0]).run();
    }
    close(orders[0]);
    mOrders = orders[1];
}

void ScriptHost::begin(const std::string& state) {
    if (mBegun) return;
    mBegun = true;
    android::base::WriteStringToFd(kBegin + state, mOrders);
}

void ScriptHost::refuse(const std::string& reason) {
    mBegun = true;
    android::base::WriteStringToFd(kRefuse + reason, mOrders);
}

}  // namespace zstats::vdevice
