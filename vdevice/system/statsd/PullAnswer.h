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

/** Encoded events, byte for byte, in the order in which they were sent. */
using EncodedEvents = std::vector<std::string>;

/** The arguments of pullFinished. */
struct Answer {
    bool success = false;
    EncodedEvents events;
};

/** Takes the answer to one pull. An answer after the wait has ended is dropped. Any thread. */
class PullAnswer : public aidl::android::os::BnPullAtomResultReceiver {
  public:
    ndk::ScopedAStatus pullFinished(
            int32_t atomTag, bool success,
            const std::vector<aidl::android::util::StatsEventParcel>& output) override;

    /** The answer, or nothing when none came in time. To be called once. */
    std::optional<Answer> wait(std::chrono::nanoseconds timeout);

  private:
    Mutex mLock;
    std::condition_variable_any mArrived;
    std::optional<Answer> mAnswer GUARDED_BY(mLock);
    bool mExpired GUARDED_BY(mLock) = false;
};

}  // namespace zstats::vdevice
