#pragma once

#include <aidl/android/os/BnPullAtomResultReceiver.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "daemon/base/Mutex.h"

namespace zstats::vdevice {

/** Encoded events as received, in their order. */
using EncodedEvents = std::vector<std::string>;

/** The arguments of pullFinished. */
struct Answer {
    bool success = false;
    EncodedEvents events;
};

/** Receives the answer to one pull. Drops an answer that comes after the wait. Any thread. */
class PullAnswer : public aidl::android::os::BnPullAtomResultReceiver {
  public:
    ndk::ScopedAStatus pullFinished(
            int32_t atomTag, bool success,
            const std::vector<aidl::android::util::StatsEventParcel>& output) override;

    /** The answer; no value when none came in time. To be called once. */
    std::optional<Answer> wait(std::chrono::nanoseconds timeout);

  private:
    Mutex mLock;
    std::condition_variable_any mArrived;
    std::optional<Answer> mAnswer GUARDED_BY(mLock);
    bool mExpired GUARDED_BY(mLock) = false;
};

}  // namespace zstats::vdevice
