#pragma once

#include <aidl/android/os/IPullAtomCallback.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "daemon/base/Mutex.h"
#include "vdevice/system/statsd/PullAnswer.h"

namespace zstats::vdevice {

/** The terms of a registration. */
struct PullTerms {
    int64_t coolDownMillis = 0;  // at least 1000
    int64_t timeoutMillis = 0;   // at most 10000
    std::vector<int32_t> additiveFields;
};

/** The result of a pull. */
struct PullResult {
    bool success = false;
    std::string failure;  // the reason; empty on success
    bool fromCache = false;
    bool timedOut = false;
    bool callFailed = false;
    bool dead = false;  // the puller's process has died
    EncodedEvents events;
    EncodedEvents rejected;  // dropped on arrival: unbuilt or malformed
};

/** A process that answers the pulls of one atom. Any thread; pulls are serialised. */
class Puller {
  public:
    using Callback = std::shared_ptr<aidl::android::os::IPullAtomCallback>;

    /** Limits `terms`: a cool-down of at least 1 s, a time-out of at most 10 s. */
    Puller(int32_t tag, PullTerms terms, Callback callback);

    /**
     * Asks the process and waits for its answer until the time-out. Within the cool-down of the last
     * pull, or for the same `eventTimeNs`, returns the result of the last pull, also a failure.
     */
    PullResult pull(int64_t eventTimeNs);
    /** Like pull, but always asks the process. */
    PullResult pullNow(int64_t eventTimeNs);

    const PullTerms& terms() const { return mTerms; }
    /** False after the driver has reported the process's death. */
    bool alive() const;

  private:
    PullResult askAndKeep(int64_t now, int64_t eventTimeNs) REQUIRES(mLock);
    PullResult ask();

    const int32_t mTag;
    const PullTerms mTerms;
    const Callback mCallback;

    Mutex mLock;  // held while the process is asked
    std::optional<int64_t> mLastPullNs GUARDED_BY(mLock);
    int64_t mLastEventNs GUARDED_BY(mLock) = -1;
    PullResult mLast GUARDED_BY(mLock);
};

}  // namespace zstats::vdevice
