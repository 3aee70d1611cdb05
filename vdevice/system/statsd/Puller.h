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
    std::string failure;  // why not; empty on success
    bool fromCache = false;
    bool dead = false;  // the call found that the puller's process is gone
    EncodedEvents events;
    EncodedEvents rejected;  // dropped as they arrived: left unbuilt, or broken
};

/** A process that answers the pulls of one atom. Any thread; pulls run one after the other. */
class Puller {
  public:
    using Callback = std::shared_ptr<aidl::android::os::IPullAtomCallback>;

    /** Raises the cool-down to 1 s and lowers the time-out to 10 s where `terms` go beyond. */
    Puller(int32_t tag, PullTerms terms, Callback callback);

    /**
     * Asks the process and waits for its answer, at most its time-out. Within the cool-down of the
     * last pull, or for the same `eventTimeNs` again, the result is that of the last pull, be it a
     * failure.
     */
    PullResult pull(int64_t eventTimeNs);
    /** The same, but never the result of an earlier pull. */
    PullResult pullNow(int64_t eventTimeNs);

    const PullTerms& terms() const { return mTerms; }
    /** False once the driver has told of the process's death. */
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
