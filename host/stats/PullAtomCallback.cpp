#include "host/stats/PullAtomCallback.h"

#include <aidl/android/util/StatsEventParcel.h>

#include "host/stats/EventList.h"

namespace zstats {
namespace {

using aidl::android::util::StatsEventParcel;

std::vector<StatsEventParcel> toParcels(const AStatsEventList& list) {
    std::vector<StatsEventParcel> parcels;
    for (std::vector<uint8_t>& bytes : encodedEvents(list)) {
        parcels.emplace_back().buffer = std::move(bytes);
    }
    return parcels;
}

}  // namespace

ndk::ScopedAStatus PullAtomCallback::onPullAtom(
        int32_t atomTag,
        const std::shared_ptr<aidl::android::os::IPullAtomResultReceiver>& receiver) {
    if (receiver == nullptr) return ndk::ScopedAStatus::fromStatus(STATUS_UNEXPECTED_NULL);
    AStatsEventList list;
    const bool success = mCallback(atomTag, &list, mCookie) == AStatsManager_PULL_SUCCESS;
    ndk::ScopedAStatus status = receiver->pullFinished(atomTag, success, toParcels(list));
    if (!status.isOk()) receiver->pullFinished(atomTag, false, {});
    return ndk::ScopedAStatus::ok();
}

}  // namespace zstats
