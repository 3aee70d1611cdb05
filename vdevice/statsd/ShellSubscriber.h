#pragma once

#include <android-base/unique_fd.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <set>

#include "vdevice/statsd/PushedAtoms.h"
#include "vdevice/statsd/Subscription.h"

namespace zstats::vdevice {

/** All running subscriptions, 20 at most. Any thread. */
class ShellSubscriber {
  public:
    explicit ShellSubscriber(PullerRegistry* pullers) : mPullers(pullers) {}

    /**
     * Reads one length-prefixed configuration from `in` and, if there is room and it makes sense,
     * streams to a duplicate of `out` from now on. Blocks, and holds up other starts, until the
     * configuration is complete. A refusal shows in the log only.
     */
    void start(int in, int out, std::chrono::seconds lifetime);

    /** Hands an event to every subscription that asked for its atom. */
    void push(const PushedEvent& event);

    size_t running() const;

  private:
    void launch(SubscriptionRequest request, android::base::unique_fd out,
                std::chrono::seconds lifetime);

    PullerRegistry* const mPullers;
    std::mutex mStartLock;     // one start at a time
    mutable std::mutex mLock;  // guards mRunning
    std::set<std::shared_ptr<Subscription>> mRunning;
};

}  // namespace zstats::vdevice
