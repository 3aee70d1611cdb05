#pragma once

#include <aidl/android/os/BnPullAtomCallback.h>
#include <aidl/android/os/IPullAtomResultReceiver.h>

#include <cstdint>
#include <memory>

#include "host/stats/PullCallbackTable.h"

namespace zstats {

/** The binder object of a registration, which statsd calls for each pull. Any thread. */
class PullAtomCallback : public aidl::android::os::BnPullAtomCallback {
  public:
    /** `cookie` is passed to `callback` and not owned. */
    PullAtomCallback(AStatsManager_PullAtomCallback callback, void* cookie,
                     AStatsManager_PullAtomMetadata metadata)
          : mCallback(callback), mCookie(cookie), mMetadata(std::move(metadata)) {}

    const AStatsManager_PullAtomMetadata& metadata() const { return mMetadata; }

    /**
     * Runs the callback and sends `receiver` its events, built or not. If that call fails, for
     * instance because the answer is too large, a failure without events is sent.
     */
    ndk::ScopedAStatus onPullAtom(
            int32_t atomTag,
            const std::shared_ptr<aidl::android::os::IPullAtomResultReceiver>& receiver) override;

  private:
    const AStatsManager_PullAtomCallback mCallback;
    void* const mCookie;
    const AStatsManager_PullAtomMetadata mMetadata;
};

}  // namespace zstats
