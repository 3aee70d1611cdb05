#include "vdevice/system/init/Init.h"

#include <android-base/file.h>
#include <errno.h>
#include <poll.h>
#include <sys/reboot.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <set>
#include <sstream>

#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/system/init/Boot.h"
#include "vdevice/system/init/InitLog.h"
#include "vdevice/system/init/Labels.h"
#include "vdevice/system/init/Process.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

constexpr char kRcFolder[] = "/system/etc/init";
constexpr char kWatchProgram[] = "/system/bin/svcwait";
constexpr char kDaemon[] = "zstats_pullerd";
constexpr char kReadyProperty[] = "vdev.ready";
/** How soon a service that died is started again, in ms after its last start, if set. */
constexpr char kRestartProperty[] = "vdev.restart_ms";
constexpr std::chrono::milliseconds kRestartPeriod(5000);

/** Whether the profile lists the service as absent or lacks one of the files that it needs. */
bool isAbsent(const RcService& rc, const std::set<std::string>& absent) {
    const auto listed = [&](const std::string& name) { return absent.count(name) != 0; };
    const auto missing = [](const std::string& name) {
        return access(profilePath(name).c_str(), F_OK) != 0;
    };
    return listed(rc.name) || std::any_of(rc.interfaces.begin(), rc.interfaces.end(), listed) ||
           std::any_of(rc.needs.begin(), rc.needs.end(), missing);
}

}  // namespace

Init::Init()
      : mProperties([this](const std::string& action,
                           const std::string& name) { return control(action, name); },
                    [this](const std::string& name, const std::string& value) {
                        mActions.propertySet(name, value);
                    }),
        mActions([this](const std::string& name) { return mProperties.get(name); }) {}

void Init::run() {
    signal(SIGPIPE, SIG_IGN);
    setenv("PATH", "/system_ext/bin:/system/bin:/bin:/sbin", 1);
    setenv("HOME", "/", 1);
    setenv("TERM", "linux", 1);
    std::string error = bootSystem();
    mDeaths = childDeaths();
    mScriptHost = std::make_unique<ScriptHost>();
    if (error.empty()) error = prepare();
    if (error.empty()) {
        startWatch();
        mActions.trigger("boot");
        mActions.enablePropertyTriggers();
        watchFor("");
    } else {
        mScriptHost->refuse(error);
    }
    loop();
    reboot(RB_POWER_OFF);
}

std::string Init::bootSystem() {
    mountFileSystems();
    raiseDescriptorLimit();
    // Before the policy, as on a device: what comes later is the domain init, which loads no modules.
    std::string error = loadBinder();
    if (error.empty()) error = loadPolicy();
    if (!error.empty()) return error;
    mountLabelledFileSystems();
    return labelFiles();
}

std::string Init::prepare() {
    std::string error;
    const auto step = [&](const std::string& result) {
        error = result;
        return error.empty();
    };
    if (step(showProfileFiles()) && step(mProperties.open()) &&
        step(mProperties.load(profilePath(profile::kBuildProp)))) {
        error = readRcFiles();
    }
    return error;
}

std::string Init::readRcFiles() {
    std::set<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(kRcFolder)) {
        paths.insert(entry.path());
    }
    RcFile rc;
    for (const auto& path : paths) {
        std::string text;
        if (!android::base::ReadFileToString(path, &text)) return path.string() + " is unreadable";
        const std::string error = parseRcFile(path.filename(), text, &rc);
        if (!error.empty()) return error;
    }
    mActions.setActions(std::move(rc.actions));
    return fileServices(rc.services);
}

std::string Init::fileServices(const std::vector<RcService>& services) {
    const std::string listed = readProfileFile(profilePath(profile::kAbsent)).value_or("");
    const std::vector<std::string> lines = profileLines(listed);
    const std::set<std::string> absent(lines.begin(), lines.end());
    for (const RcService& service : services) {
        mServices.push_back(std::make_unique<Service>(
                service, isAbsent(service, absent),
                [this](const std::string& name, const std::string& state) {
                    onServiceState(name, state);
                }));
    }
    return "";
}

void Init::startWatch() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return;
    mWatchPid = fork();
    if (mWatchPid == 0) {
        becomeChild();
        const char* const command[] = {kWatchProgram, nullptr};
        execProgram(kWatchProgram, command, {ends[1], ends[1], 2});
    }
    close(ends[1]);
    mWatch.reset(ends[0]);
}

void Init::endWatch() {
    mStage = Stage::kNothing;
    mWatch.reset();
    if (mWatchPid > 0) kill(mWatchPid, SIGKILL);
    mWatchPid = -1;
}

void Init::watchFor(const std::string& names) {
    android::base::WriteStringToFd(names + "\n", mWatch.get());
}

void Init::loop() {
    while (!mEnded) {
        runActions();
        pollfd waiting[] = {{mDeaths.get(), POLLIN, 0},
                            {mProperties.fd(), POLLIN, 0},
                            {mWatch.get(), POLLIN, 0}};
        poll(waiting, std::size(waiting), millisecondsToRestart());
        if (waiting[0].revents != 0) reapChildren();
        if (waiting[1].revents != 0) mProperties.serve();
        if (waiting[2].revents != 0) onWatchAnswer();
        restartDue();
    }
}

int Init::millisecondsToRestart() const {
    using std::chrono::milliseconds;
    const auto now = Service::Clock::now();
    int shortest = -1;
    for (const auto& service : mServices) {
        const auto due = service->restartTime();
        if (!due) continue;
        const auto left = std::chrono::duration_cast<milliseconds>(*due - now).count() + 1;
        const int wait = static_cast<int>(std::max<decltype(left)>(left, 0));
        if (shortest < 0 || wait < shortest) shortest = wait;
    }
    return shortest;
}

void Init::restartDue() {
    const auto now = Service::Clock::now();
    for (const auto& service : mServices) {
        if (service->restartTime() && *service->restartTime() <= now) service->start();
    }
}

void Init::reapChildren() {
    signalfd_siginfo info;
    while (read(mDeaths.get(), &info, sizeof(info)) > 0) {
    }
    int status = 0;
    for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
        if (pid == mScriptHost->pid()) mEnded = true;
        for (const auto& service : mServices) {
            if (service->pid() == pid) service->onEnd(status, restartPeriod());
        }
    }
}

std::chrono::milliseconds Init::restartPeriod() const {
    const auto faster = parseInt(mProperties.get(kRestartProperty));
    return faster ? std::chrono::milliseconds(*faster) : kRestartPeriod;
}

void Init::onWatchAnswer() {
    char answer[4096];
    if (read(mWatch.get(), answer, sizeof(answer)) <= 0) return endWatch();
    if (mStage == Stage::kManager) {
        mStage = Stage::kServices;
        mActions.trigger("manager-ready");
        runActions();
        watchFor(interfacesOfRunningServices());
    } else if (mStage == Stage::kServices) {
        mStage = Stage::kDaemon;
        watchFor(kDaemon);
    } else {
        daemonIs("registered");
    }
    beginIfReady();
}

std::string Init::interfacesOfRunningServices() const {
    std::string names;
    for (const auto& service : mServices) {
        if (!service->isRunning()) continue;
        for (const std::string& name : service->rc().interfaces) names += name + " ";
    }
    return names;
}

void Init::runActions() {
    while (const auto command = mActions.next()) execute(*command);
}

void Init::execute(const RcCommand& command) {
    const std::string& name = command[0];
    if (name == "class_start") {
        startClass(command[1]);
    } else if (name == "start") {
        startFromRc(command[1]);
    } else if (name == "setprop") {
        mProperties.set(command[1], command[2]);
    } else if (name == "mkdir") {
        mkdir(command[1].c_str(), 0755);
    } else if (!control(name, command[1])) {
        INIT_LOG(ERROR, "%s: there is no service '%s'", name.c_str(), command[1].c_str());
    }
}

void Init::startFromRc(const std::string& name) {
    Service* const service = find(name);
    if (service == nullptr) {
        INIT_LOG(ERROR, "start: there is no service '%s'", name.c_str());
    } else if (!service->isAbsent()) {
        service->start();
    } else if (name == kDaemon) {
        daemonIs("absent");
    }
}

void Init::startClass(const std::string& name) {
    for (const auto& service : mServices) {
        if (service->rc().className == name && !service->isDisabled()) service->start();
    }
}

bool Init::control(const std::string& action, const std::string& name) {
    Service* const service = find(name);
    if (service == nullptr) return false;
    if (action == "start") {
        service->start();
    } else if (action == "stop") {
        service->stop();
    } else if (action == "restart") {
        service->restart();
    } else {
        return false;
    }
    return true;
}

Service* Init::find(const std::string& name) const {
    const auto found = std::find_if(mServices.begin(), mServices.end(), [&](const auto& service) {
        return service->rc().name == name;
    });
    return found == mServices.end() ? nullptr : found->get();
}

void Init::onServiceState(const std::string& name, const std::string& state) {
    mProperties.set("init.svc." + name, state);
    if (name != kDaemon) return;
    if (state == "stopped") daemonIs("stopped");
    if (state == "restarting") daemonIs("exited");
}

void Init::daemonIs(const std::string& state) {
    if (mDaemonState.empty()) mDaemonState = state;
    beginIfReady();
}

void Init::beginIfReady() {
    const bool servicesUp = mStage == Stage::kDaemon || mStage == Stage::kNothing;
    if (mBegun || !servicesUp || mDaemonState.empty()) return;
    mBegun = true;
    endWatch();
    mProperties.set(kReadyProperty, mDaemonState);
    mScriptHost->begin(mDaemonState);
}

}  // namespace zstats::vdevice
