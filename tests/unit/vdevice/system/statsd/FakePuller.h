#pragma once

#include <aidl/android/os/BnPullAtomCallback.h>
#include <stats_event.h>

#include <atomic>
#include <functional>
#include <string>

namespace zstats::vdevice {

/** An encoded event of one int32 field. */
inline std::string eventBytes(int32_t tag, int32_t value) {
    AStatsEvent* event = AStatsEvent_obtain();
    AStatsEvent_setAtomId(event, static_cast<uint32_t>(tag));
    AStatsEvent_writeInt32(event, value);
    AStatsEvent_build(event);
    size_t size = 0;
    const uint8_t* bytes = AStatsEvent_getBuffer(event, &size);
    std::string text(bytes, bytes + size);
    AStatsEvent_release(event);
    return text;
}

/** Answers the n-th pull with one event of the field n, unless told otherwise. */
class FakePuller : public aidl::android::os::BnPullAtomCallback {
  public:
    using Receiver = std::shared_ptr<aidl::android::os::IPullAtomResultReceiver>;

    ndk::ScopedAStatus onPullAtom(int32_t tag, const Receiver& receiver) override {
        const int32_t number = ++pulls;
        if (meanwhile) meanwhile();
        if (status != STATUS_OK) return ndk::ScopedAStatus::fromStatus(status);
        if (!answers) return ndk::ScopedAStatus::ok();
        const std::string bytes = eventBytes(tag, number);
        aidl::android::util::StatsEventParcel parcel;
        parcel.buffer.assign(bytes.begin(), bytes.end());
        return receiver->pullFinished(tag, success, {parcel});
    }

    std::atomic<int32_t> pulls{0};
    std::function<void()> meanwhile;
    binder_status_t status = STATUS_OK;
    bool answers = true;
    bool success = true;
};

}  // namespace zstats::vdevice
