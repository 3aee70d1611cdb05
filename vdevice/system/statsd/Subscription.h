#pragma once

#include <android-base/unique_fd.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

#include "cli/lib/atoms/ShellStream.h"
#include "vdevice/system/statsd/PullerManager.h"

namespace zstats::vdevice {

/** What a subscription asks for. */
struct SubscriptionRequest {
    struct Pull {
        int32_t tag;
        int64_t intervalMs;
        std::vector<int32_t> uids;  // asked in this order
    };
    std::set<int32_t> pushed;
    std::vector<Pull> pulls;
    bool collectUids = false;
};

/** Reads a serialised configuration; no value if it is malformed. */
std::optional<SubscriptionRequest> parseSubscription(std::string_view bytes);

/** Decodes an event; no value for bytes that statsd rejects. */
std::optional<cli::StreamedAtom> streamedAtom(int32_t uid, std::string_view event);

/**
 * A running subscription. Not thread-safe: ShellSubscriber's lock guards every call. A write blocks
 * until the reader has made room, or ends the subscription if the descriptor has O_NONBLOCK.
 */
class Subscription {
  public:
    /** Gives the time since boot in ns. */
    using TimeSource = int64_t (*)();

    /** `lifetime` zero: no limit. Times count from the last whole second before the start. */
    Subscription(SubscriptionRequest request, android::base::unique_fd out,
                 std::chrono::seconds lifetime, PullerManager* pullers, TimeSource now);

    /** Writes a pushed atom if the subscription includes it. */
    void push(const cli::StreamedAtom& atom);

    /**
     * Pulls the atoms that are due at `nowNs`, writes a heartbeat if nothing was written for a
     * second, and ends the subscription after its lifetime. Returns the ms to sleep before the next
     * call.
     */
    int64_t work(int64_t nowNs);

    /** False after a failed write and after the lifetime. */
    bool alive() const { return mAlive; }

  private:
    struct PlannedPull {
        SubscriptionRequest::Pull what;
        int64_t lastMs;
    };

    int64_t pullDue(int64_t nowNs);
    void write(const std::vector<cli::StreamedAtom>& atoms);

    std::set<int32_t> mPushed;
    const bool mCollectUids;
    std::vector<PlannedPull> mPulls;
    const android::base::unique_fd mOut;
    PullerManager* const mPullers;
    const TimeSource mNow;
    const int64_t mStartSeconds;
    const int64_t mLifeSeconds;
    int64_t mLastWriteMs;
    bool mAlive = true;
};

}  // namespace zstats::vdevice
