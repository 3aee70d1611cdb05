#include "vdevice/system/statsd/PullerManager.h"

#include <utils/SystemClock.h>

#include <algorithm>

#include "vdevice/system/statsd/StatsdLog.h"

namespace zstats::vdevice {
namespace {

/** Counts a pull. One that is answered from the cache counts as nothing else. */
void count(const PullResult& result, PullCounts* counts) {
    ++counts->pulls;
    if (result.fromCache) {
        ++counts->fromCache;
        return;
    }
    counts->failed += result.success ? 0 : 1;
    counts->timedOut += result.timedOut ? 1 : 0;
    counts->callFailed += result.callFailed ? 1 : 0;
    counts->empty += result.success && result.events.empty() ? 1 : 0;
}

}  // namespace

PullResult PullerManager::noPuller(int32_t tag) {
    ++mCounts[tag].noPuller;
    PullResult result;
    result.failure = "no puller registered";
    return result;
}

void PullerManager::add(int32_t uid, int32_t tag, PullTerms terms, const Callback& callback) {
    const ScopedLock lock(mLock);
    auto puller = std::make_shared<Puller>(tag, std::move(terms), callback);
    mPullers[{uid, tag}] = {mArrivals++, std::move(puller)};
    ++mCounts[tag].registered;
}

void PullerManager::remove(int32_t uid, int32_t tag) {
    const ScopedLock lock(mLock);
    if (mPullers.erase({uid, tag}) != 0) ++mCounts[tag].unregistered;
}

PullResult PullerManager::pull(const std::vector<int32_t>& uids, int32_t tag, int64_t eventTimeNs) {
    const ScopedLock lock(mLock);
    for (int32_t uid : uids) {
        const Key key(uid, tag);
        if (mPullers.count(key) != 0) return pullLocked(key, eventTimeNs);
    }
    STATSD_LOG(WARN, "StatsPullerManager: Unknown tagId %d", tag);
    return noPuller(tag);
}

PullResult PullerManager::pullFromAnyone(int32_t tag) {
    const ScopedLock lock(mLock);
    const auto key = firstRegistered(tag);
    return key ? pullLocked(*key, android::elapsedRealtimeNano()) : noPuller(tag);
}

PullResult PullerManager::pullNow(int32_t tag) {
    const ScopedLock lock(mLock);
    const auto key = firstRegistered(tag);
    if (!key) return noPuller(tag);
    return pullReleased(*key, android::elapsedRealtimeNano(),
                        [](Puller& puller, int64_t time) { return puller.pullNow(time); });
}

std::optional<PullerManager::Key> PullerManager::firstRegistered(int32_t tag) const {
    const std::pair<const Key, Registration>* first = nullptr;
    for (const auto& entry : mPullers) {
        if (entry.first.second != tag) continue;
        if (first == nullptr || entry.second.arrival < first->second.arrival) first = &entry;
    }
    return first == nullptr ? std::nullopt : std::make_optional(first->first);
}

PullResult PullerManager::pullLocked(const Key& key, int64_t eventTimeNs) {
    if (mParallel) {
        return pullReleased(key, eventTimeNs,
                            [](Puller& puller, int64_t time) { return puller.pull(time); });
    }
    const std::shared_ptr<Puller> puller = mPullers.at(key).puller;
    return noted(key, puller, puller->pull(eventTimeNs));
}

PullResult PullerManager::pullReleased(const Key& key, int64_t eventTimeNs, Ask ask) {
    // A copy: the registration may be replaced while the lock is released.
    const std::shared_ptr<Puller> puller = mPullers.at(key).puller;
    mLock.unlock();
    PullResult result = ask(*puller, eventTimeNs);
    mLock.lock();
    return noted(key, puller, std::move(result));
}

PullResult PullerManager::noted(const Key& key, const std::shared_ptr<Puller>& puller,
                                PullResult result) {
    count(result, &mCounts[key.second]);
    if (!result.dead) return result;
    const auto found = mPullers.find(key);
    // With parallel pulls, the process may have restarted and registered again.
    if (found != mPullers.end() && found->second.puller == puller) {
        mPullers.erase(found);
        ++mCounts[key.second].unregistered;
    }
    STATSD_LOG(INFO, "puller of %d by uid %d is dead, removed", key.second, key.first);
    return result;
}

std::map<int32_t, PullCounts> PullerManager::counts() const {
    const ScopedLock lock(mLock);
    return mCounts;
}

std::vector<RegisteredPuller> PullerManager::list() const {
    std::vector<std::pair<uint64_t, RegisteredPuller>> found;
    {
        const ScopedLock lock(mLock);
        for (const auto& [key, registration] : mPullers) {
            const Puller& puller = *registration.puller;
            found.push_back({registration.arrival,
                             {key.first, key.second, puller.terms(), puller.alive()}});
        }
    }
    std::sort(found.begin(), found.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<RegisteredPuller> list;
    for (auto& [arrival, puller] : found) list.push_back(std::move(puller));
    return list;
}

}  // namespace zstats::vdevice
