#include "vdevice/statsd/PullerRegistry.h"

#include <algorithm>
#include <utility>

#include "vdevice/statsd/StatsdLog.h"

namespace zstats::vdevice {
namespace {

constexpr int64_t kMinCoolDownMillis = 1000;
constexpr int64_t kMaxTimeoutMillis = 10000;

PullResult failed(std::string why) {
    PullResult result;
    result.failure = std::move(why);
    return result;
}

}  // namespace

void PullerRegistry::add(int32_t uid, int32_t tag, PullTerms terms, const Callback& callback) {
    terms.coolDownMillis = std::max(terms.coolDownMillis, kMinCoolDownMillis);
    terms.timeoutMillis = std::min(terms.timeoutMillis, kMaxTimeoutMillis);
    auto puller = std::make_shared<Puller>();
    puller->uid = uid;
    puller->tag = tag;
    puller->terms = std::move(terms);
    puller->callback = callback;
    std::lock_guard lock(mLock);
    puller->arrival = mArrivals++;
    mPullers[{uid, tag}] = std::move(puller);
}

void PullerRegistry::remove(int32_t uid, int32_t tag) {
    std::lock_guard lock(mLock);
    mPullers.erase({uid, tag});
}

PullResult PullerRegistry::pull(const std::vector<int32_t>& uids, int32_t tag) {
    std::shared_ptr<Puller> puller;
    {
        std::lock_guard lock(mLock);
        for (int32_t uid : uids) {
            const auto found = mPullers.find({uid, tag});
            if (found == mPullers.end()) continue;
            puller = found->second;
            break;
        }
    }
    return puller == nullptr ? failed("no puller registered") : pull(puller);
}

PullResult PullerRegistry::pullFromAnyone(int32_t tag) {
    std::shared_ptr<Puller> first;
    {
        std::lock_guard lock(mLock);
        for (const auto& [key, puller] : mPullers) {
            if (key.second != tag) continue;
            if (first == nullptr || puller->arrival < first->arrival) first = puller;
        }
    }
    return first == nullptr ? failed("no puller registered") : pull(first);
}

PullResult PullerRegistry::pull(const std::shared_ptr<Puller>& puller) {
    std::lock_guard lock(puller->lock);
    const Clock::time_point now = Clock::now();
    const std::chrono::milliseconds coolDown(puller->terms.coolDownMillis);
    if (puller->lastPull && now - *puller->lastPull < coolDown) {
        PullResult cached = puller->last;
        cached.fromCache = true;
        return cached;
    }
    puller->lastPull = now;
    puller->last = ask(*puller);
    if (!AIBinder_isAlive(puller->callback->asBinder().get())) forget(puller);
    return puller->last;
}

PullResult PullerRegistry::ask(Puller& puller) {
    const auto answer = ndk::SharedRefBase::make<PullAnswer>();
    const ndk::ScopedAStatus status = puller.callback->onPullAtom(puller.tag, answer);
    if (status.getStatus() == STATUS_DEAD_OBJECT) return failed("the puller's process has died");
    if (!status.isOk()) {
        return failed("the call failed with status " + std::to_string(status.getStatus()));
    }
    auto received = answer->wait(std::chrono::milliseconds(puller.terms.timeoutMillis));
    if (!received) {
        return failed("no answer within " + std::to_string(puller.terms.timeoutMillis) + " ms");
    }
    if (!received->success) return failed("the puller reported failure");
    PullResult result;
    result.success = true;
    result.events = std::move(received->events);
    return result;
}

void PullerRegistry::forget(const std::shared_ptr<Puller>& puller) {
    STATSD_LOG(INFO, "puller of %d by uid %d is dead, removed", puller->tag, puller->uid);
    std::lock_guard lock(mLock);
    const auto found = mPullers.find({puller->uid, puller->tag});
    // It may have registered anew meanwhile.
    if (found != mPullers.end() && found->second == puller) mPullers.erase(found);
}

std::vector<RegisteredPuller> PullerRegistry::list() const {
    std::vector<std::pair<uint64_t, RegisteredPuller>> found;
    {
        std::lock_guard lock(mLock);
        for (const auto& [key, puller] : mPullers) {
            const bool alive = AIBinder_isAlive(puller->callback->asBinder().get());
            found.push_back({puller->arrival, {puller->uid, puller->tag, puller->terms, alive}});
        }
    }
    std::sort(found.begin(), found.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<RegisteredPuller> list;
    for (auto& [arrival, puller] : found) list.push_back(std::move(puller));
    return list;
}

}  // namespace zstats::vdevice
