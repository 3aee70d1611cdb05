#pragma once

#include <aidl/android/os/BnPullAtomCallback.h>
#include <aidl/android/os/IPullAtomResultReceiver.h>

#include <cstdint>
#include <memory>

#include "host/stats/PullRegistry.h"

namespace zstats {

/** The binder object behind one registration: statsd calls it for each pull, on any thread. */
class PullAtomCallback : public aidl::android::os::BnPullAtomCallback {
  public:
    /** `cookie` is handed to `callback` as it is and never owned. */
    PullAtomCallback(AStatsManager_PullAtomCallback callback, void* cookie,
                     AStatsManager_PullAtomMetadata metadata)
          : mCallback(callback), mCookie(cookie), mMetadata(std::move(metadata)) {}

    const AStatsManager_PullAtomMetadata& metadata() const { return mMetadata; }

    /**
     * Runs the callback and gives `receiver` every event it made, built or not. An answer that does
     * not go through (too large, say) is followed by a failure without events.
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
