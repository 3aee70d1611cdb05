#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "daemon/base/Mutex.h"
#include "vdevice/system/statsd/Puller.h"

namespace zstats::vdevice {

/** A registration, for tools. */
struct RegisteredPuller {
    int32_t uid = 0;
    int32_t tag = 0;
    PullTerms terms;
    bool alive = false;
};

/** What became of one atom's pulls and registrations. */
struct PullCounts {
    int64_t pulls = 0;
    int64_t fromCache = 0;
    int64_t failed = 0;
    int64_t empty = 0;
    int64_t timedOut = 0;
    int64_t noPuller = 0;
    int64_t callFailed = 0;
    int64_t registered = 0;
    int64_t unregistered = 0;
};

/**
 * The registered pullers by uid and atom tag; a later registration replaces an earlier one.
 * Any thread.
 *
 * As on a phone, one lock is held during each pull: pulls of all atoms are serialised, and
 * registrations wait for them.
 */
class PullerManager {
  public:
    using Callback = Puller::Callback;

    void add(int32_t uid, int32_t tag, PullTerms terms, const Callback& callback);
    void remove(int32_t uid, int32_t tag);

    /**
     * Asks the first of these uids that has a puller for the tag. Removes a puller whose process
     * has died. `eventTimeNs`: see Puller::pull.
     */
    PullResult pull(const std::vector<int32_t>& uids, int32_t tag, int64_t eventTimeNs);
    /** Asks the puller that registered the tag first. */
    PullResult pullFromAnyone(int32_t tag);

    /** Like pullFromAnyone, but concurrent with other pulls and without the cool-down. */
    PullResult pullNow(int32_t tag);

    /** If true, the lock is released during each pull, so that pulls of several atoms overlap. */
    void setParallel(bool parallel) { mParallel = parallel; }

    /** In the order of arrival. */
    std::vector<RegisteredPuller> list() const;

    /** Of each atom that was ever registered or asked for. */
    std::map<int32_t, PullCounts> counts() const;

  private:
    struct Registration {
        int32_t uid;
        int32_t tag;
        std::shared_ptr<Puller> puller;
    };
    using Ask = PullResult (*)(Puller& puller, int64_t eventTimeNs);

    template <typename Condition>
    bool removeWhere(Condition condition) REQUIRES(mLock);
    const Registration* firstRegistered(int32_t tag) const REQUIRES(mLock);
    PullResult pullLocked(const Registration& entry, int64_t eventTimeNs) REQUIRES(mLock);
    // Copies, because the registration may be removed or replaced meanwhile.
    PullResult pullReleased(Registration entry, int64_t eventTimeNs, Ask ask) REQUIRES(mLock);
    PullResult noted(Registration entry, PullResult result) REQUIRES(mLock);
    PullResult noPuller(int32_t tag) REQUIRES(mLock);

    std::atomic<bool> mParallel{false};
    mutable Mutex mLock;
    std::vector<Registration> mPullers GUARDED_BY(mLock);  // in the order of arrival
    std::map<int32_t, PullCounts> mCounts GUARDED_BY(mLock);
};

}  // namespace zstats::vdevice
