#include "vdevice/system/statsd/PullAnswer.h"

#include "vdevice/system/statsd/StatsdLog.h"

namespace zstats::vdevice {

ndk::ScopedAStatus PullAnswer::pullFinished(
        int32_t atomTag, bool success,
        const std::vector<aidl::android::util::StatsEventParcel>& output) {
    const ScopedLock lock(mLock);
    if (mExpired) {
        STATSD_LOG(WARN, "late answer to a pull of %d dropped", atomTag);
        return ndk::ScopedAStatus::ok();
    }
    if (mAnswer) return ndk::ScopedAStatus::ok();  // only the first answer counts
    mAnswer.emplace();
    mAnswer->success = success;
    for (const auto& parcel : output) {
        mAnswer->events.emplace_back(parcel.buffer.begin(), parcel.buffer.end());
    }
    mArrived.notify_all();
    return ndk::ScopedAStatus::ok();
}

std::optional<Answer> PullAnswer::wait(std::chrono::nanoseconds timeout) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    ScopedLock lock(mLock);
    while (!mAnswer && mArrived.wait_until(lock, end) == std::cv_status::no_timeout) {
    }
    mExpired = !mAnswer.has_value();
    return std::move(mAnswer);
}

}  // namespace zstats::vdevice
