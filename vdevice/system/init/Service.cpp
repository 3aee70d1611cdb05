#include "vdevice/system/init/Service.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <grp.h>
#include <selinux/selinux.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "vdevice/system/init/InitLog.h"
#include "vdevice/system/init/Labels.h"
#include "vdevice/system/init/Process.h"

namespace zstats::vdevice {
namespace {

/** A socket of the service's own, at a path with a label of its own. */
void makeSocket(const RcSocket& rc, const std::string& domain) {
    setsockcreatecon(domain.empty() ? nullptr : domain.c_str());
    const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    setsockcreatecon(nullptr);
    const int on = 1;
    if (rc.passCredentials) setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof(on));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = "/dev/socket/" + rc.name;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    unlink(path.c_str());
    const LabelledCreation labelled(path);
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
    const auto domain = domainOfProgram(mRc.command[0]);
    if (!domain) return;
    mPid = fork();
    if (mPid == 0) runProgram(*domain);
    if (mPid < 0) {
        INIT_LOG(ERROR, "cannot fork for service '%s': %s", mRc.name.c_str(), strerror(errno));
        return;
    }
    mStarted = Clock::now();
    mListener(mRc.name, "running");
    INIT_LOG(INFO, "starting service '%s' (pid %d)", mRc.name.c_str(), mPid);
}

void Service::runProgram(const std::string& domain) const {
    becomeChild();
    setsid();
    umask(022);
    makeSockets(domain);
    dropPrivileges();
    if (!domain.empty() && setexeccon(domain.c_str()) != 0) _exit(127);
    std::vector<char*> command;
    for (const std::string& word : mRc.command) command.push_back(const_cast<char*>(word.c_str()));
    command.push_back(nullptr);
    // What a service writes to its standard descriptors is lost, as on a device.
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null, fd);
    execv(command[0], command.data());
    INIT_LOG(ERROR, "cannot execute %s: %s", command[0], strerror(errno));
    _exit(127);
}

void Service::makeSockets(const std::string& domain) const {
    for (const RcSocket& socket : mRc.sockets) makeSocket(socket, domain);
}

void Service::dropPrivileges() const {
    // Root gets by an exec what this set still holds, and so nothing.
    for (int number = 0; mRc.noCapabilities && prctl(PR_CAPBSET_DROP, number) == 0; ++number) {
    }
    const std::vector<gid_t>& gids = mRc.gids;
    if (setgroups(gids.size() - 1, gids.data() + 1) != 0 ||
        setresgid(gids[0], gids[0], gids[0]) != 0 || setresuid(mRc.uid, mRc.uid, mRc.uid) != 0) {
        _exit(127);
    }
}

void Service::kill() {
    INIT_LOG(INFO, "Sending signal %d to service '%s' (pid %d) process group...", SIGKILL,
             mRc.name.c_str(), mPid);
    ::kill(-mPid, SIGKILL);
    // The child may not have called setsid() yet, and so not be in a group of its own.
    ::kill(mPid, SIGKILL);
    mStopping = true;
    mListener(mRc.name, "stopping");
}

void Service::stop() {
    mDisabled = true;
    mStartAfterEnd = false;
    mRestartTime.reset();
    if (!isRunning()) return mListener(mRc.name, "stopped");
    kill();
}

void Service::restart() {
    if (!isRunning()) return start();
    mDisabled = false;
    mStartAfterEnd = true;
    kill();
}

void Service::onEnd(int waitStatus, std::chrono::milliseconds restartPeriod) {
    if (WIFSIGNALED(waitStatus)) {
        INIT_LOG(INFO, "Service '%s' (pid %d) received signal %d", mRc.name.c_str(), mPid,
                 WTERMSIG(waitStatus));
    } else {
        INIT_LOG(INFO, "Service '%s' (pid %d) exited with status %d", mRc.name.c_str(), mPid,
                 WEXITSTATUS(waitStatus));
    }
    // Kill what is left of its process group.
    ::kill(-mPid, SIGKILL);
    mPid = -1;
    mStopping = false;
    if (mDisabled || (mRc.oneshot && !mStartAfterEnd)) return mListener(mRc.name, "stopped");
    const Clock::duration period = mRc.restartPeriod.value_or(restartPeriod);
    mRestartTime = mStartAfterEnd ? Clock::now() : mStarted + period;
    mStartAfterEnd = false;
    mListener(mRc.name, "restarting");
}

}  // namespace zstats::vdevice
