#include "acquire/Cmd.h"

#include <android/log.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <utils/Vector.h>

#include <cstdio>
#include <cstring>

#include "daemon/base/Arithmetic.h"

namespace zstats {

using android::endl;
using android::IBinder;
using android::IServiceManager;
using android::sp;
using android::status_t;
using android::String16;
using android::TextOutput;
using android::Vector;

namespace {

constexpr char kCmdTag[] = "cmd";
constexpr int32_t kExitNoService = 20;

/** A service and the arguments of its command. */
struct Command {
    std::string_view service;
    Vector<String16> arguments;
    bool waitForService = false;
};

String16 toString16(std::string_view text) {
    return String16(text.data(), text.size());
}

/** `argv` is not empty. A single "-w" is the name of a service. */
Command parseCommand(const std::vector<std::string_view>& argv) {
    Command command;
    command.waitForService = argv.size() >= 2 && argv[0] == "-w";
    const size_t service = command.waitForService ? 1 : 0;
    command.service = argv[service];
    for (size_t i = service + 1; i < argv.size(); ++i) {
        command.arguments.add(toString16(argv[i]));
    }
    return command;
}

/** Prints the services that can be reached, sorted. */
int32_t listServices(IServiceManager& manager, TextOutput& outputLog) {
    Vector<String16> services = manager.listServices(IServiceManager::DUMP_FLAG_PRIORITY_ALL);
    services.sort(sort_func);
    outputLog << "Currently running services:" << endl;
    for (const String16& service : services) {
        if (manager.checkService(service) == nullptr) continue;
        outputLog << "  " << service << endl;
    }
    return 0;
}

/** `negated` is the status as an errno value. */
const char* describeFailure(status_t status, int32_t negated) {
    switch (status) {
        case android::BAD_TYPE:
            return "Bad type";
        case android::FAILED_TRANSACTION:
            return "Failed transaction";
        case android::FDS_NOT_ALLOWED:
            return "File descriptors not allowed";
        case android::UNEXPECTED_NULL:
            return "Unexpected null";
        default:
            return strerror(negated);
    }
}

/** Writes to the output log, not to the error log. */
void reportFailure(std::string_view service, status_t status, TextOutput& outputLog,
                   RunMode runMode) {
    const int32_t negated = wrap32(-int64_t{status});
    const char* text = describeFailure(status, negated);
    if (runMode == RunMode::kStandalone) {
        __android_log_print(ANDROID_LOG_WARN, kCmdTag, "Failure calling service %.*s: %s (%d)",
                            static_cast<int>(service.size()), service.data(), text, negated);
    }
    outputLog << "cmd: Failure calling service " << service << ": " << text << " (" << negated
              << ")" << endl;
}

/** The service; null, with an error line, when it is absent. Waits for it with "-w". */
sp<IBinder> findService(IServiceManager& manager, const Command& command, TextOutput& errorLog,
                        RunMode runMode) {
    const String16 name = toString16(command.service);
    sp<IBinder> service =
            command.waitForService ? manager.waitForService(name) : manager.checkService(name);
    if (service != nullptr) return service;
    if (runMode == RunMode::kStandalone) {
        __android_log_print(ANDROID_LOG_WARN, kCmdTag, "Can't find service %.*s",
                            static_cast<int>(command.service.size()), command.service.data());
    }
    errorLog << "cmd: Can't find service: " << command.service << endl;
    return nullptr;
}

/** Also starts the process's binder threads, on which the command's callbacks arrive. */
sp<IServiceManager> findServiceManager(TextOutput& errorLog, RunMode runMode) {
    android::ProcessState::self()->startThreadPool();
    sp<IServiceManager> manager = android::defaultServiceManager();
    // Earlier output must precede what the command writes to the same descriptor.
    if (runMode == RunMode::kStandalone) fflush(stdout);
    if (manager != nullptr) return manager;
    if (runMode == RunMode::kStandalone) {
        __android_log_print(ANDROID_LOG_WARN, kCmdTag, "Unable to get default service manager!");
    }
    errorLog << "cmd: Unable to get default service manager!" << endl;
    return nullptr;
}

}  // namespace

void MyResultReceiver::send(int32_t resultCode) {
    android::Mutex::Autolock lock(mLock);
    mResult = resultCode;
    mHasResult = true;
    mArrived.signal();
}

int32_t MyResultReceiver::waitForResult() {
    android::Mutex::Autolock lock(mLock);
    while (!mHasResult) mArrived.wait(mLock);
    return mResult;
}

int sort_func(const String16* lhs, const String16* rhs) {
    return lhs->compare(*rhs);
}

int32_t cmdMain(const std::vector<std::string_view>& argv, TextOutput& outputLog,
                TextOutput& errorLog, int in, int out, int err, RunMode runMode) {
    const sp<IServiceManager> manager = findServiceManager(errorLog, runMode);
    if (manager == nullptr) return kExitNoService;
    if (argv.empty()) {
        errorLog << "cmd: No service specified; use -l to list all running services. "
                    "Use -w to start and wait for a service."
                 << endl;
        return kExitNoService;
    }
    if (argv.size() == 1 && argv[0] == "-l") return listServices(*manager, outputLog);

    Command command = parseCommand(argv);
    const sp<IBinder> service = findService(*manager, command, errorLog, runMode);
    if (service == nullptr) return kExitNoService;

    const sp<MyShellCallback> callback(new MyShellCallback(errorLog));
    const sp<MyResultReceiver> receiver(new MyResultReceiver());
    const status_t status =
            IBinder::shellCommand(service, in, out, err, command.arguments, callback, receiver);
    if (status < 0) {
        reportFailure(command.service, status, outputLog, runMode);
        return status;
    }
    callback->deactivate();
    // Does not block if the command has sent its result during the call.
    return receiver->waitForResult();
}

}  // namespace zstats
