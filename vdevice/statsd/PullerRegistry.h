#pragma once

#include <aidl/android/os/IPullAtomCallback.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "vdevice/statsd/PullAnswer.h"

namespace zstats::vdevice {

/** What a puller asked for when it registered, after statsd's bounds. */
struct PullTerms {
    int64_t coolDownMillis = 0;  // at least 1000
    int64_t timeoutMillis = 0;   // at most 10000
    std::vector<int32_t> additiveFields;
};

/** How a pull went. */
struct PullResult {
    bool success = false;
    std::string failure;  // why not; empty on success
    bool fromCache = false;
    EncodedEvents events;
};

/** A registration as tools see it. */
struct RegisteredPuller {
    int32_t uid = 0;
    int32_t tag = 0;
    PullTerms terms;
    bool alive = false;
};

/**
 * Everyone who answers pulls, by uid and atom tag; a later registration replaces an earlier one. A
 * puller answers one pull at a time: those who come meanwhile wait for it. Any thread.
 */
class PullerRegistry {
  public:
    using Callback = std::shared_ptr<aidl::android::os::IPullAtomCallback>;

    /** Bounds the terms and stores the registration. */
    void add(int32_t uid, int32_t tag, PullTerms terms, const Callback& callback);
    void remove(int32_t uid, int32_t tag);

    /** Asks the first of these uids that has a puller for the tag. */
    PullResult pull(const std::vector<int32_t>& uids, int32_t tag);
    /** Asks whoever registered the tag first. */
    PullResult pullFromAnyone(int32_t tag);

    /** In the order of arrival. */
    std::vector<RegisteredPuller> list() const;

  private:
    using Clock = std::chrono::steady_clock;

    struct Puller {
        int32_t uid;
        int32_t tag;
        uint64_t arrival;
        PullTerms terms;
        Callback callback;

        std::mutex lock;  // guards what follows; held for the length of a pull
        std::optional<Clock::time_point> lastPull;
        PullResult last;
    };

    PullResult pull(const std::shared_ptr<Puller>& puller);
    PullResult ask(Puller& puller);
    void forget(const std::shared_ptr<Puller>& puller);

    mutable std::mutex mLock;  // guards what follows; never held while a puller is asked
    uint64_t mArrivals = 0;
    std::map<std::pair<int32_t, int32_t>, std::shared_ptr<Puller>> mPullers;
};

}  // namespace zstats::vdevice
