#include "vdevice/system/scripthost/ScriptHost.h"

#include <android-base/properties.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>

#include "vdevice/lib/Process.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

constexpr char kLogPath[] = "/dev/log/main";
constexpr char kReadyProperty[] = "vdev.ready";
constexpr int kHeartbeatMs = 5000;
constexpr uint16_t kBootSession = 1;

/** Readable when the property is set. */
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
    while (!mEnded) wait();
    mChannel.drain();
}

void ScriptHost::wait() {
    std::vector<pollfd> waiting = {{mReady.get(), POLLIN, 0},
                                   {mLogChanges.get(), POLLIN, 0},
                                   {mDeaths.get(), POLLIN, 0},
                                   {mKernelLog.fd(), POLLIN, 0},
                                   {mChannel.fd(), POLLIN, 0}};
    for (const auto& [number, session] : mSessions) session.addTo(&waiting);
    if (poll(waiting.data(), waiting.size(), kHeartbeatMs) == 0) {
        mChannel.send(FrameType::kHeartbeat, "");
    }
    if (waiting[3].revents != 0) mKernelLog.pass();
    if (waiting[1].revents != 0) passLog();
    for (auto& [number, session] : mSessions) session.pass();
    if (waiting[2].revents != 0) collectChildren();
    if (waiting[4].revents != 0) takeFrames();
    if (waiting[0].revents != 0) begin();
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

void ScriptHost::begin() {
    mReady.reset();
    mChannel.send(FrameType::kState, android::base::GetProperty(kReadyProperty, ""));
    mStays = access(kScriptPath, F_OK) != 0;
    if (mStays) return;
    Session& session = mSessions.try_emplace(kBootSession, kBootSession, &mChannel).first->second;
    session.beginBoot();
    mEnded = session.hasFailed();
}

void ScriptHost::takeFrames() {
    if (!mChannel.receive()) {
        mChannel.send(FrameType::kRefusal, "what the launcher sends is no frame");
        mEnded = true;
    }
    while (const auto frame = mChannel.take()) onFrame(*frame);
}

void ScriptHost::onFrame(const Frame& frame) {
    if (frame.type == FrameType::kText || frame.type == FrameType::kBegin) {
        mSessions.try_emplace(frame.session, frame.session, &mChannel);
    }
    const auto found = mSessions.find(frame.session);
    if (found == mSessions.end()) return;  // it ended while the frame was in transit
    found->second.onFrame(frame);
    if (found->second.hasFailed()) mSessions.erase(found);
}

void ScriptHost::collectChildren() {
    signalfd_siginfo info;
    while (read(mDeaths.get(), &info, sizeof(info)) > 0) {
    }
    int status = 0;
    for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
        finish(pid, shellStatus(status));
    }
}

/** A session ends with its process. Background processes may keep the pipes open. */
void ScriptHost::finish(pid_t pid, int32_t status) {
    const auto found = std::find_if(mSessions.begin(), mSessions.end(), [pid](const auto& session) {
        return session.second.pid() == pid;
    });
    if (found == mSessions.end()) return;
    found->second.flush();
    mKernelLog.pass();
    passLog();
    found->second.exit(status);
    mSessions.erase(found);
    mEnded = !mStays;
}

}  // namespace zstats::vdevice
