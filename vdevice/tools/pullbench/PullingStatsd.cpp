#include "vdevice/tools/pullbench/PullingStatsd.h"

#include <utils/SystemClock.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "cli/lib/atoms/AtomCatalogue.h"
#include "vdevice/lib/ServiceMain.h"
#include "vdevice/tools/pullbench/Pullbench.h"

namespace zstats::vdevice {
namespace {

constexpr std::chrono::seconds kRegistrationTime(60);
constexpr std::chrono::seconds kPullTime(20);  // the machine may be busy with other things

}  // namespace

std::shared_ptr<PullingStatsd> PullingStatsd::publish() {
    // A reader who has gone shows as a failing write.
    signal(SIGPIPE, SIG_IGN);
    static PullerManager pullers;
    static ShellSubscriber subscriber(&pullers);
    auto service = ndk::SharedRefBase::make<PullingStatsd>(&pullers, &subscriber);
    publishOrDie("stats", service->asBinder().get());
    startBinderThreads();
    puts("published");
    return service;
}

ndk::ScopedAStatus PullingStatsd::registerNativePullAtomCallback(
        int32_t tag, int64_t coolDownMillis, int64_t timeoutMillis,
        const std::vector<int32_t>& additive, const std::shared_ptr<IPullAtomCallback>& callback) {
    Status status = StatsdService::registerNativePullAtomCallback(
            tag, coolDownMillis, timeoutMillis, additive, callback);
    if (!status.isOk()) return status;
    const ScopedLock lock(mLock);
    mCallbacks[tag] = callback;
    if (++mCount % cli::pulledAtomIds().size() == 0) {
        printf("registered %lld\n", static_cast<long long>(android::uptimeNanos()));
    }
    mRegistered.notify_all();
    return status;
}

void PullingStatsd::waitFor(const std::vector<int32_t>& tags) {
    const auto end = std::chrono::steady_clock::now() + kRegistrationTime;
    ScopedLock lock(mLock);
    for (int32_t tag : tags) {
        while (mCallbacks.count(tag) == 0) {
            if (mRegistered.wait_until(lock, end) == std::cv_status::no_timeout) continue;
            fprintf(stderr, "pullbench: nobody has registered %d\n", tag);
            exit(EXIT_FAILURE);
        }
    }
}

std::shared_ptr<PullingStatsd::IPullAtomCallback> PullingStatsd::callbackOf(int32_t tag) {
    const ScopedLock lock(mLock);
    return mCallbacks.at(tag);
}

PullingStatsd::Pull PullingStatsd::pull(int32_t tag) {
    const auto callback = callbackOf(tag);
    const auto answer = ndk::SharedRefBase::make<PullAnswer>();
    Pull result;
    const int64_t start = android::uptimeNanos();
    if (!callback->onPullAtom(tag, answer).isOk()) return result;
    auto received = answer->wait(kPullTime);
    result.nanos = android::uptimeNanos() - start;
    result.answered = received && received->success;
    if (received) result.events = std::move(received->events);
    return result;
}

}  // namespace zstats::vdevice
