#include "vdevice/system/statsd/Puller.h"

#include <utils/SystemClock.h>
#include <utils/Timers.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "host/stats/EventReader.h"

namespace zstats::vdevice {
namespace {

constexpr int64_t kMinCoolDownMillis = 1000;
constexpr int64_t kMaxTimeoutMillis = 10000;

PullTerms bounded(PullTerms terms) {
    terms.coolDownMillis = std::max(terms.coolDownMillis, kMinCoolDownMillis);
    terms.timeoutMillis = std::min(terms.timeoutMillis, kMaxTimeoutMillis);
    return terms;
}

PullResult failed(std::string why) {
    PullResult result;
    result.failure = std::move(why);
    return result;
}

}  // namespace

Puller::Puller(int32_t tag, PullTerms terms, Callback callback)
      : mTag(tag), mTerms(bounded(std::move(terms))), mCallback(std::move(callback)) {}

PullResult Puller::pull(int64_t eventTimeNs) {
    const ScopedLock lock(mLock);
    const int64_t now = android::elapsedRealtimeNano();
    const int64_t coolDownNs = milliseconds_to_nanoseconds(mTerms.coolDownMillis);
    if (mLastPullNs && (mLastEventNs == eventTimeNs || now - *mLastPullNs < coolDownNs)) {
        PullResult cached = mLast;
        cached.fromCache = true;
        return cached;
    }
    return askAndKeep(now, eventTimeNs);
}

PullResult Puller::pullNow(int64_t eventTimeNs) {
    const ScopedLock lock(mLock);
    return askAndKeep(android::elapsedRealtimeNano(), eventTimeNs);
}

PullResult Puller::askAndKeep(int64_t now, int64_t eventTimeNs) {
    // The time before the call: the cool-down counts from the start of a pull.
    mLastPullNs = now;
    mLastEventNs = eventTimeNs;
    mLast = ask();
    return mLast;
}

PullResult Puller::ask() {
    const auto answer = ndk::SharedRefBase::make<PullAnswer>();
    const ndk::ScopedAStatus status = mCallback->onPullAtom(mTag, answer);
    if (status.getStatus() == STATUS_DEAD_OBJECT) {
        PullResult result = failed("the puller's process has died");
        result.dead = result.callFailed = true;
        return result;
    }
    if (!status.isOk()) {
        PullResult result =
                failed("the call failed with status " + std::to_string(status.getStatus()));
        result.callFailed = true;
        return result;
    }
    auto received = answer->wait(std::chrono::milliseconds(mTerms.timeoutMillis));
    if (!received) {
        PullResult result =
                failed("no answer within " + std::to_string(mTerms.timeoutMillis) + " ms");
        result.timedOut = true;
        return result;
    }
    if (!received->success) return failed("the puller reported failure");
    PullResult result;
    result.success = true;
    for (std::string& event : received->events) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(event.data());
        auto& kept = isValidEvent(bytes, event.size()) ? result.events : result.rejected;
        kept.push_back(std::move(event));
    }
    return result;
}

bool Puller::alive() const {
    return AIBinder_isAlive(mCallback->asBinder().get());
}

}  // namespace zstats::vdevice
