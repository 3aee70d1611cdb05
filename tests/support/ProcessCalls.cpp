#include "tests/support/ProcessCalls.h"

#include <binder/IPCThreadState.h>
#include <binder/ProcessState.h>

#include <utility>

#include "tests/support/Guarded.h"

namespace zstats {
namespace {

Guarded<std::vector<std::string>> gCalls;
Guarded<std::function<void()>> gWhileJoined;

void record(const std::string& call) {
    gCalls.lock()->push_back(call);
}

}  // namespace

std::vector<std::string> takeProcessCalls() {
    return std::exchange(*gCalls.lock(), {});
}

void whileJoined(std::function<void()> action) {
    gWhileJoined.set(std::move(action));
}

}  // namespace zstats

// The linker redirects calls of these members here (--wrap).
extern "C" {
android::status_t __wrap__ZN7android12ProcessState27setThreadPoolMaxThreadCountEm(
        android::ProcessState* /*self*/, size_t count) {
    zstats::record("setThreadPoolMaxThreadCount " + std::to_string(count));
    return android::OK;
}
void __wrap__ZN7android12ProcessState15startThreadPoolEv(android::ProcessState* /*self*/) {
    zstats::record("startThreadPool");
}
void __wrap__ZN7android12ProcessState18giveThreadPoolNameEv(android::ProcessState* /*self*/) {
    zstats::record("giveThreadPoolName");
}
void __wrap__ZN7android14IPCThreadState14joinThreadPoolEb(android::IPCThreadState* /*self*/,
                                                          bool isMain) {
    zstats::record("joinThreadPool " + std::to_string(isMain));
    const auto action = std::exchange(*zstats::gWhileJoined.lock(), nullptr);
    if (action) action();
}
}
