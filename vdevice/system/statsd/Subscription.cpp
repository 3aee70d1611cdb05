#include "vdevice/system/statsd/Subscription.h"

#include <android-base/file.h>
#include <private/android_filesystem_config.h>
#include <utils/Timers.h>

#include <algorithm>
#include <string>

#include "host/stats/EventReader.h"
#include "proto/shell_config.pb.h"
#include "vdevice/lib/UserIds.h"
#include "vdevice/system/statsd/StatsdLog.h"

namespace zstats::vdevice {
namespace {

constexpr int64_t kHeartbeatMs = 1000;
// Pulled events do not carry their sender's uid.
constexpr int32_t kNoUid = -1;

SubscriptionRequest::Pull pullOf(const android::os::statsd::PulledAtomSubscription& entry) {
    SubscriptionRequest::Pull pull;
    pull.tag = entry.matcher().atom_id();
    pull.intervalMs = std::max<int64_t>(entry.freq_millis(), 0);
    for (const std::string& package : entry.packages()) {
        if (const auto uid = userIdOfAid(package)) pull.uids.push_back(static_cast<int32_t>(*uid));
    }
    pull.uids.push_back(AID_SYSTEM);  // as statsd does, whatever packages were named
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

std::optional<cli::StreamedAtom> streamedAtom(int32_t uid, std::string_view event) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(event.data());
    auto read = readEvent(bytes, event.size());
    if (!read || !read->valid()) return std::nullopt;
    return cli::StreamedAtom{read->atomId, read->timestampNs, uid, std::move(read->fields)};
}

Subscription::Subscription(SubscriptionRequest request, android::base::unique_fd out,
                           std::chrono::seconds lifetime, PullerManager* pullers, TimeSource now)
      : mPushed(std::move(request.pushed)),
        mCollectUids(request.collectUids),
        mOut(std::move(out)),
        mPullers(pullers),
        mNow(now),
        mStartSeconds(nanoseconds_to_seconds(now())),
        mLifeSeconds(lifetime.count()),
        mLastWriteMs(mStartSeconds * 1000) {
    for (auto& pull : request.pulls) mPulls.push_back({std::move(pull), mLastWriteMs});
}

void Subscription::push(const cli::StreamedAtom& atom) {
    if (mPushed.count(atom.id) != 0) write({atom});
}

int64_t Subscription::work(int64_t nowNs) {
    const int64_t nowMs = nanoseconds_to_milliseconds(nowNs);
    if (mLifeSeconds > 0 && nanoseconds_to_seconds(nowNs) - mStartSeconds >= mLifeSeconds) {
        mAlive = false;
        return kHeartbeatMs;
    }
    const int64_t untilPull = pullDue(nowNs);
    if (nowMs - mLastWriteMs >= kHeartbeatMs) write({});
    // Relative to the start of this round, but the caller sleeps after its end: as in statsd, slow
    // pulls and writes delay the next round.
    return std::min(untilPull, mLastWriteMs + kHeartbeatMs - nowMs);
}

int64_t Subscription::pullDue(int64_t nowNs) {
    const int64_t nowMs = nanoseconds_to_milliseconds(nowNs);
    int64_t untilNext = kHeartbeatMs;
    for (PlannedPull& planned : mPulls) {
        const SubscriptionRequest::Pull& pull = planned.what;
        if (planned.lastMs + pull.intervalMs <= nowMs) {
            const PullResult result = mPullers->pull(pull.uids, pull.tag, nowNs);
            std::vector<cli::StreamedAtom> atoms;
            for (const std::string& event : result.events) {
                // A puller may answer with other atoms, which do not match the subscription.
                const auto atom = streamedAtom(kNoUid, event);
                if (atom && atom->id == pull.tag) atoms.push_back(*atom);
            }
            if (!atoms.empty()) write(atoms);
            planned.lastMs = nowMs;
        }
        untilNext = std::min(untilNext, planned.lastMs + pull.intervalMs - nowMs);
    }
    return untilNext;
}

void Subscription::write(const std::vector<cli::StreamedAtom>& atoms) {
    const std::string frame = cli::shellFrame(atoms, mCollectUids);
    // Two writes, as in statsd: with O_NONBLOCK, a stream may end between length and message.
    if (android::base::WriteFully(mOut, frame.data(), cli::kShellLengthBytes) &&
        android::base::WriteFully(mOut, frame.data() + cli::kShellLengthBytes,
                                  frame.size() - cli::kShellLengthBytes)) {
        mLastWriteMs = nanoseconds_to_milliseconds(mNow());
    } else {
        mAlive = false;
    }
}

}  // namespace zstats::vdevice
