#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <list>
#include <thread>

#include "daemon/base/Mutex.h"
#include "vdevice/system/statsd/PushedAtoms.h"
#include "vdevice/system/statsd/Subscription.h"

namespace zstats::vdevice {

/**
 * All running subscriptions, 20 at most. Any thread.
 *
 * As on a device, one lock is held while a configuration is read, atoms are pulled and frames are
 * written for any of the subscriptions. A reader that stops reading therefore blocks all of them,
 * the start of new ones and the delivery of pushed atoms, until it reads on or closes its end. With
 * O_NONBLOCK on its descriptor it ends its own subscription and blocks nothing.
 */
class ShellSubscriber {
  public:
    explicit ShellSubscriber(PullerManager* pullers) : mPullers(pullers) {}
    /** Ends all subscriptions. */
    ~ShellSubscriber();

    /**
     * Reads one length-prefixed configuration from `in` and streams to a duplicate of `out` from
     * now on. Blocks until the configuration is complete. A malformed one, or a subscription too
     * many, is refused with a log line only.
     */
    void start(int in, int out, std::chrono::seconds lifetime);

    /** Hands an event to every subscription that asked for its atom. */
    void push(const PushedEvent& event);

    /** How many there are. Never waits. */
    size_t running() const { return mRunning; }

  private:
    using Subscriptions = std::list<Subscription>;

    void launch(SubscriptionRequest request, int out, std::chrono::seconds lifetime) REQUIRES(mLock);
    void serve();
    int64_t serveAll() REQUIRES(mLock);
    Subscriptions::iterator nextAfter(Subscriptions::iterator entry) REQUIRES(mLock);

    PullerManager* const mPullers;
    std::atomic<size_t> mRunning{0};
    Mutex mLock;
    std::condition_variable_any mChanged;
    Subscriptions mSubscriptions GUARDED_BY(mLock);
    bool mNewSubscription GUARDED_BY(mLock) = false;
    bool mEnding GUARDED_BY(mLock) = false;
    bool mServing GUARDED_BY(mLock) = false;
    std::thread mThread GUARDED_BY(mLock);
};

}  // namespace zstats::vdevice
