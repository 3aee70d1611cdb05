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
 * As on a phone, one lock is held while a configuration is read, atoms are pulled and frames are
 * written. A reader that stops reading therefore blocks all subscriptions, the start of new ones
 * and the delivery of pushed atoms. docs/acquisition.md ("Slow readers") has the consequences.
 */
class ShellSubscriber {
  public:
    explicit ShellSubscriber(PullerManager* pullers) : mPullers(pullers) {}
    /** Ends all subscriptions. */
    ~ShellSubscriber();

    /**
     * Reads one length-prefixed configuration from `in`, then streams to a duplicate of `out`.
     * Blocks until the configuration is complete. A malformed configuration, or a subscription
     * above the limit, is refused with a log line only.
     */
    void start(int in, int out, std::chrono::seconds lifetime);

    /** Writes an event to every subscription to its atom. */
    void push(const PushedEvent& event);

    /** The number of subscriptions. Never blocks. */
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
