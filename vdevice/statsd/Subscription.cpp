#include "vdevice/statsd/Subscription.h"

#include <android-base/file.h>

#include <algorithm>
#include <map>
#include <string>

#include "proto/shell_config.pb.h"
#include "vdevice/statsd/StatsdLog.h"

namespace zstats::vdevice {
namespace {

constexpr std::chrono::milliseconds kHeartbeat(1000);
constexpr int32_t kSystemUid = 1000;
// A reader who takes nothing at all loses what comes after this many atoms.
constexpr size_t kMaxQueue = 1000;

/** The names of the platform's own users that a puller may have here. */
std::optional<int32_t> uidOf(const std::string& package) {
    static const std::map<std::string, int32_t> kUids = {
            {"AID_ROOT", 0}, {"AID_SYSTEM", kSystemUid}, {"AID_STATSD", 1066}, {"AID_SHELL", 2000}};
    const auto found = kUids.find(package);
    if (found == kUids.end()) return std::nullopt;
    return found->second;
}

SubscriptionRequest::Pull pullOf(const android::os::statsd::PulledAtomSubscription& entry) {
    SubscriptionRequest::Pull pull;
    pull.tag = entry.matcher().atom_id();
    pull.interval = std::chrono::milliseconds(std::max<int64_t>(entry.freq_millis(), 1));
    for (const std::string& package : entry.packages()) {
        if (const auto uid = uidOf(package)) pull.uids.push_back(*uid);
    }
    pull.uids.push_back(kSystemUid);
    return pull;
}

}  // namespace

std::optional<SubscriptionRequest> parseSubscription(std::string_view bytes) {
    android::os::statsd::ShellSubscription config;
    if (!config.ParseFromString(std::string(bytes))) return std::nullopt;
    SubscriptionRequest request;
    for (const auto& matcher : config.pushed()) request.pushed.insert(matcher.atom_id());
    for (const auto& entry : config.pulled()) request.pulls.push_back(pullOf(entry));
    request.collectUids = config.collect_uids();
    return request;
}

std::optional<StreamedAtom> streamedAtom(int32_t uid, std::string_view event) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(event.data());
    auto read = readEvent(bytes, event.size());
    if (!read || !read->valid()) return std::nullopt;
    return StreamedAtom{read->atomId, read->timestampNs, uid, std::move(read->fields)};
}

Subscription::Subscription(SubscriptionRequest request, android::base::unique_fd out,
                           std::chrono::seconds lifetime, PullerRegistry* pullers)
      : mRequest(std::move(request)),
        mOut(std::move(out)),
        mPullers(pullers),
        mLastWrite(Clock::now()) {
    if (lifetime.count() > 0) mEnd = mLastWrite + lifetime;
    for (const auto& pull : mRequest.pulls) mNextPull.push_back(mLastWrite + pull.interval);
}

void Subscription::push(const StreamedAtom& atom) {
    if (mRequest.pushed.count(atom.id) == 0) return;
    std::lock_guard lock(mLock);
    if (mQueue.size() >= kMaxQueue) return;
    mQueue.push_back(atom);
    mArrived.notify_one();
}

Subscription::Clock::time_point Subscription::nextDeadline() const {
    Clock::time_point next = mLastWrite + kHeartbeat;
    for (const Clock::time_point pull : mNextPull) next = std::min(next, pull);
    return mEnd ? std::min(next, *mEnd) : next;
}

void Subscription::run() {
    while (!mEnd || Clock::now() < *mEnd) {
        {
            std::unique_lock lock(mLock);
            mArrived.wait_until(lock, nextDeadline(), [this] { return !mQueue.empty(); });
            if (!sendPushed(lock)) return;
        }
        if (!sendDuePulls()) return;
        if (Clock::now() - mLastWrite >= kHeartbeat && !send({})) return;
    }
}

bool Subscription::sendPushed(std::unique_lock<std::mutex>& lock) {
    while (!mQueue.empty()) {
        const StreamedAtom atom = std::move(mQueue.front());
        mQueue.pop_front();
        lock.unlock();
        const bool sent = send({atom});
        lock.lock();
        if (!sent) return false;
    }
    return true;
}

bool Subscription::sendDuePulls() {
    for (size_t i = 0; i < mNextPull.size(); ++i) {
        const Clock::time_point now = Clock::now();
        if (now < mNextPull[i]) continue;
        const SubscriptionRequest::Pull& pull = mRequest.pulls[i];
        mNextPull[i] = std::max(mNextPull[i] + pull.interval, now);
        const PullResult result = mPullers->pull(pull.uids, pull.tag);
        std::vector<StreamedAtom> atoms;
        for (const std::string& event : result.events) {
            const auto atom = streamedAtom(pull.uids.front(), event);
            if (atom && atom->id == pull.tag) atoms.push_back(*atom);
        }
        if (!atoms.empty() && !send(atoms)) return false;
    }
    return true;
}

bool Subscription::send(const std::vector<StreamedAtom>& atoms) {
    std::string frame = shellFrame(atoms, mRequest.collectUids);
    mLastWrite = Clock::now();
    return android::base::WriteFully(mOut, frame.data(), frame.size());
}

}  // namespace zstats::vdevice
