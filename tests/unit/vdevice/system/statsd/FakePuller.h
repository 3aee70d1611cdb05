#pragma once

#include <aidl/android/os/BnPullAtomCallback.h>
#include <stats_event.h>

#include <atomic>
#include <functional>
#include <memory>

namespace zstats::vdevice {

/** Answers the n-th pull with one event, whose field is n. */
class FakePuller : public aidl::android::os::BnPullAtomCallback {
  public:
    using Receiver = std::shared_ptr<aidl::android::os::IPullAtomResultReceiver>;

    ndk::ScopedAStatus onPullAtom(int32_t tag, const Receiver& receiver) override {
        const int32_t number = ++pulls;
        if (meanwhile) meanwhile();
        if (dies) return ndk::ScopedAStatus(AStatus_fromStatus(STATUS_DEAD_OBJECT));
        AStatsEvent* event = AStatsEvent_obtain();
        AStatsEvent_setAtomId(event, static_cast<uint32_t>(tag));
        AStatsEvent_writeInt32(event, number);
        if (builds) AStatsEvent_build(event);
        size_t size = 0;
        const uint8_t* bytes = AStatsEvent_getBuffer(event, &size);
        aidl::android::util::StatsEventParcel parcel;
        parcel.buffer.assign(bytes, bytes + size);
        AStatsEvent_release(event);
        return receiver->pullFinished(tag, success, {parcel});
    }

    std::atomic<int32_t> pulls{0};
    std::function<void()> meanwhile;
    bool success = true;
    bool dies = false;   // during the call
    bool builds = true;  // false: the event stays unbuilt
};

}  // namespace zstats::vdevice
