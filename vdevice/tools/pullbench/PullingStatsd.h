#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <vector>

#include "daemon/base/Mutex.h"
#include "vdevice/system/statsd/PullAnswer.h"
#include "vdevice/system/statsd/StatsdService.h"

namespace zstats::vdevice {

/**
 * The virtual device's statsd with pulls of its own beside: as many at once as asked for, and
 * without a cool-down. Everybody may register. Any thread.
 */
class PullingStatsd : public StatsdService {
  public:
    /** Publishes itself as "stats", starts to serve and prints "published"; ends the process if
     * that is refused. */
    static std::shared_ptr<PullingStatsd> publish();

    PullingStatsd(PullerManager* pullers, ShellSubscriber* subscriber)
          : StatsdService(pullers, subscriber, [](const char*) { return true; }) {}

    /** Prints "registered NANOS" at the 39th, 78th, ... atom. Who it was from is not known: the
     * call is oneway. */
    Status registerNativePullAtomCallback(
            int32_t tag, int64_t coolDownMillis, int64_t timeoutMillis,
            const std::vector<int32_t>& additive,
            const std::shared_ptr<IPullAtomCallback>& callback) override;

    /** Waits until all these tags are registered; ends the process after a minute. */
    void waitFor(const std::vector<int32_t>& tags);

    /** How a pull went, seen from here. */
    struct Pull {
        bool answered = false;
        int64_t nanos = 0;  // from before the call until the answer was here
        EncodedEvents events;
    };
    /** Pulls a registered tag, and waits up to 20 s for the answer. */
    Pull pull(int32_t tag);

  private:
    std::shared_ptr<IPullAtomCallback> callbackOf(int32_t tag);

    Mutex mLock;
    std::condition_variable_any mRegistered;
    std::map<int32_t, std::shared_ptr<IPullAtomCallback>> mCallbacks GUARDED_BY(mLock);
    size_t mCount GUARDED_BY(mLock) = 0;
};

}  // namespace zstats::vdevice
