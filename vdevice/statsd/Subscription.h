#pragma once

#include <android-base/unique_fd.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

#include "vdevice/common/ShellStream.h"
#include "vdevice/statsd/PullerRegistry.h"

namespace zstats::vdevice {

/** What a subscription asks for. */
struct SubscriptionRequest {
    struct Pull {
        int32_t tag;
        std::chrono::milliseconds interval;
        std::vector<int32_t> uids;  // whom to ask, in this order
    };
    std::set<int32_t> pushed;
    std::vector<Pull> pulls;
    bool collectUids = false;
};

/** Reads a serialised configuration; nothing if it is malformed. */
std::optional<SubscriptionRequest> parseSubscription(std::string_view bytes);

/** An event as the stream shows it; nothing for bytes that statsd rejects. */
std::optional<StreamedAtom> streamedAtom(int32_t uid, std::string_view event);

/**
 * A running subscription. One thread, `run`, writes everything; pushed atoms reach it through a
 * queue, so that a reader who does not read holds up nobody but itself.
 */
class Subscription {
  public:
    using Clock = std::chrono::steady_clock;

    /** `lifetime` zero: no limit. */
    Subscription(SubscriptionRequest request, android::base::unique_fd out,
                 std::chrono::seconds lifetime, PullerRegistry* pullers);

    /** Streams until a write fails or the life time is over. */
    void run();

    /** Any thread. An atom that was not asked for is ignored. */
    void push(const StreamedAtom& atom);

  private:
    bool sendPushed(std::unique_lock<std::mutex>& lock);
    bool sendDuePulls();
    bool send(const std::vector<StreamedAtom>& atoms);
    Clock::time_point nextDeadline() const;

    const SubscriptionRequest mRequest;
    const android::base::unique_fd mOut;
    PullerRegistry* const mPullers;
    std::optional<Clock::time_point> mEnd;
    std::vector<Clock::time_point> mNextPull;  // beside mRequest.pulls
    Clock::time_point mLastWrite;

    std::mutex mLock;  // guards mQueue
    std::condition_variable mArrived;
    std::deque<StreamedAtom> mQueue;
};

}  // namespace zstats::vdevice
