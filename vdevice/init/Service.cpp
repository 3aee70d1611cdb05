#include "vdevice/init/Service.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "vdevice/init/InitLog.h"
#include "vdevice/init/Process.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;
using std::chrono::milliseconds;

/** A process that lived this long is restarted without delay. */
constexpr milliseconds kLongLife(1000);
constexpr milliseconds kFirstDelay(100);
constexpr milliseconds kLongestDelay(5000);

void makeSocket(const RcSocket& rc) {
    const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    const int on = 1;
    if (rc.passCredentials) setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof(on));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = "/dev/socket/" + rc.name;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    unlink(path.c_str());
    const bool bound = bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    if (!bound || chown(path.c_str(), rc.uid, rc.gid) != 0 || chmod(path.c_str(), rc.mode) != 0) {
        INIT_LOG(ERROR, "%s: %s", path.c_str(), strerror(errno));
    }
    setenv(("ANDROID_SOCKET_" + rc.name).c_str(), std::to_string(fd).c_str(), 1);
}

}  // namespace

void Service::start() {
    mDisabled = false;
    mRestartTime.reset();
    if (isRunning()) {
        mStartAfterEnd = mStopping;
        return;
    }
    int output[2];
    if (pipe2(output, O_CLOEXEC) != 0) return;
    mPid = fork();
    if (mPid == 0) runProgram(output[1]);
    close(output[1]);
    fcntl(output[0], F_SETFL, O_NONBLOCK);
    mOutput.reset(output[0]);
    mStarted = Clock::now();
    mListener(mRc.name, "running");
    INIT_LOG(INFO, "starting service '%s' (pid %d)", mRc.name.c_str(), mPid);
}

void Service::runProgram(int output) const {
    becomeChild();
    setsid();
    umask(022);
    makeSockets();
    dropPrivileges();
    std::vector<const char*> command;
    for (const std::string& word : mRc.command) command.push_back(word.c_str());
    command.push_back(nullptr);
    const unique_fd input(open("/dev/null", O_RDONLY | O_CLOEXEC));
    execProgram(command[0], command.data(), {input.get(), output, output});
}

void Service::makeSockets() const {
    for (const RcSocket& socket : mRc.sockets) makeSocket(socket);
}

void Service::dropPrivileges() const {
    const std::vector<gid_t>& gids = mRc.gids;
    if (setgroups(gids.size() - 1, gids.data() + 1) != 0 ||
        setresgid(gids[0], gids[0], gids[0]) != 0 || setresuid(mRc.uid, mRc.uid, mRc.uid) != 0) {
        _exit(127);
    }
}

void Service::kill() {
    if (!isRunning()) return;
    INIT_LOG(INFO, "Sending signal %d to service '%s' (pid %d) process group...", SIGKILL,
             mRc.name.c_str(), mPid);
    ::kill(-mPid, SIGKILL);
    // The child may not lead its group yet.
    ::kill(mPid, SIGKILL);
    mStopping = true;
    mListener(mRc.name, "stopping");
}

void Service::stop() {
    mDisabled = true;
    mStartAfterEnd = false;
    mRestartTime.reset();
    kill();
}

void Service::restart() {
    if (!isRunning()) return start();
    mDisabled = false;
    mStartAfterEnd = true;
    kill();
}

void Service::onEnd(int waitStatus) {
    collectOutput();
    if (WIFSIGNALED(waitStatus)) {
        INIT_LOG(INFO, "Service '%s' (pid %d) received signal %d", mRc.name.c_str(), mPid,
                 WTERMSIG(waitStatus));
    } else {
        INIT_LOG(INFO, "Service '%s' (pid %d) exited with status %d", mRc.name.c_str(), mPid,
                 WEXITSTATUS(waitStatus));
    }
    // What the process started ends with it.
    ::kill(-mPid, SIGKILL);
    mPid = -1;
    mStopping = false;
    mOutput.reset();
    if (mDisabled || (mRc.oneshot && !mStartAfterEnd)) return mListener(mRc.name, "stopped");
    const Clock::duration delay = mStartAfterEnd ? Clock::duration::zero() : nextDelay();
    mStartAfterEnd = false;
    mRestartTime = Clock::now() + delay;
    mListener(mRc.name, "restarting");
}

Service::Clock::duration Service::nextDelay() {
    if (Clock::now() - mStarted >= kLongLife) {
        mDelay = Clock::duration::zero();
        return mDelay;
    }
    mDelay = std::clamp<Clock::duration>(mDelay * 2, kFirstDelay, kLongestDelay);
    return mDelay;
}

void Service::collectOutput() {
    char buffer[4096];
    ssize_t count = 0;
    while ((count = read(mOutput.get(), buffer, sizeof(buffer))) > 0) {
        mPartLine.append(buffer, static_cast<size_t>(count));
    }
    const bool ended = count == 0;
    size_t end = 0;
    while ((end = mPartLine.find('\n')) != std::string::npos || (ended && !mPartLine.empty())) {
        const std::string line = mPartLine.substr(0, end);
        __android_log_print(ANDROID_LOG_INFO, mRc.name.c_str(), "%s", line.c_str());
        mPartLine.erase(0, end == std::string::npos ? end : end + 1);
    }
    if (ended) mOutput.reset();
}

}  // namespace zstats::vdevice
