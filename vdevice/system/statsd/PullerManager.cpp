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

/** Removes the registration that meets the condition; false if none does. */
template <typename Condition>
bool PullerManager::removeWhere(Condition condition) {
    const auto found = std::find_if(mPullers.begin(), mPullers.end(), condition);
    if (found == mPullers.end()) return false;
    mPullers.erase(found);
    return true;
}

void PullerManager::add(int32_t uid, int32_t tag, PullTerms terms, const Callback& callback) {
    const ScopedLock lock(mLock);
    removeWhere([&](const auto& entry) { return entry.uid == uid && entry.tag == tag; });
    mPullers.push_back({uid, tag, std::make_shared<Puller>(tag, std::move(terms), callback)});
    ++mCounts[tag].registered;
}

void PullerManager::remove(int32_t uid, int32_t tag) {
    const ScopedLock lock(mLock);
    const bool removed =
            removeWhere([&](const auto& entry) { return entry.uid == uid && entry.tag == tag; });
    if (removed) ++mCounts[tag].unregistered;
}

PullResult PullerManager::pull(const std::vector<int32_t>& uids, int32_t tag, int64_t eventTimeNs) {
    const ScopedLock lock(mLock);
    for (int32_t uid : uids) {
        for (const Registration& entry : mPullers) {
            if (entry.uid == uid && entry.tag == tag) return pullLocked(entry, eventTimeNs);
        }
    }
    STATSD_LOG(WARN, "StatsPullerManager: Unknown tagId %d", tag);
    return noPuller(tag);
}

PullResult PullerManager::pullFromAnyone(int32_t tag) {
    const ScopedLock lock(mLock);
    const Registration* entry = firstRegistered(tag);
    if (entry == nullptr) return noPuller(tag);
    return pullLocked(*entry, android::elapsedRealtimeNano());
}

PullResult PullerManager::pullNow(int32_t tag) {
    const ScopedLock lock(mLock);
    const Registration* entry = firstRegistered(tag);
    if (entry == nullptr) return noPuller(tag);
    return pullReleased(*entry, android::elapsedRealtimeNano(),
                        [](Puller& puller, int64_t time) { return puller.pullNow(time); });
}

const PullerManager::Registration* PullerManager::firstRegistered(int32_t tag) const {
    for (const Registration& entry : mPullers) {
        if (entry.tag == tag) return &entry;
    }
    return nullptr;
}

PullResult PullerManager::pullLocked(const Registration& entry, int64_t eventTimeNs) {
    if (!mParallel) return noted(entry, entry.puller->pull(eventTimeNs));
    return pullReleased(entry, eventTimeNs,
                        [](Puller& puller, int64_t time) { return puller.pull(time); });
}

PullResult PullerManager::pullReleased(Registration entry, int64_t eventTimeNs, Ask ask) {
    mLock.unlock();
    PullResult result = ask(*entry.puller, eventTimeNs);
    mLock.lock();
    return noted(std::move(entry), std::move(result));
}

PullResult PullerManager::noted(Registration entry, PullResult result) {
    count(result, &mCounts[entry.tag]);
    if (!result.dead) return result;
    // With parallel pulls, the process may have restarted and registered again.
    const bool removed = removeWhere([&](const auto& each) { return each.puller == entry.puller; });
    if (removed) ++mCounts[entry.tag].unregistered;
    STATSD_LOG(INFO, "puller of %d by uid %d is dead, removed", entry.tag, entry.uid);
    return result;
}

std::map<int32_t, PullCounts> PullerManager::counts() const {
    const ScopedLock lock(mLock);
    return mCounts;
}

std::vector<RegisteredPuller> PullerManager::list() const {
    const ScopedLock lock(mLock);
    std::vector<RegisteredPuller> list;
    for (const auto& [uid, tag, puller] : mPullers) {
        list.push_back({uid, tag, puller->terms(), puller->alive()});
    }
    return list;
}

}  // namespace zstats::vdevice
