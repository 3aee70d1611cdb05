#pragma once

#include <binder/Binder.h>
#include <binder/IBinder.h>
#include <binder/Parcel.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace zstats {

/** A registration as statsd gets it. */
struct Registration {
    int32_t tag;
    int64_t coolDownMillis;
    int64_t timeoutMillis;
    std::vector<int32_t> additiveFields;
};

/** Takes the one answer to a pull. */
class FakeResultReceiver : public android::BBinder {
  public:
    const android::String16& getInterfaceDescriptor() const override { return mDescriptor; }

    /** Whether the pull of `tag` was answered with success in time. */
    bool waitForSuccess(int32_t tag) {
        std::unique_lock<std::mutex> lock(mLock);
        return mArrived.wait_for(lock, std::chrono::seconds(20), [&] { return mFinished; }) &&
               mSuccess && mTag == tag;
    }

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        if (code != FIRST_CALL_TRANSACTION) return BBinder::onTransact(code, data, reply, flags);
        if (!data.checkInterface(this)) return android::BAD_TYPE;
        const std::lock_guard<std::mutex> lock(mLock);
        mTag = data.readInt32();
        mSuccess = data.readBool();
        mFinished = true;
        mArrived.notify_all();
        return android::OK;
    }

  private:
    const android::String16 mDescriptor{"android.os.IPullAtomResultReceiver"};
    std::mutex mLock;
    std::condition_variable mArrived;
    bool mFinished = false;  // guarded by mLock, as are the next two
    bool mSuccess = false;
    int32_t mTag = 0;
};

/** Statsd as the daemon's pull library sees it: takes registrations off the wire, one by one. */
class FakeStatsd : public android::BBinder {
  public:
    static constexpr uint32_t kRegisterNative = FIRST_CALL_TRANSACTION + 22;
    static constexpr uint32_t kUnregisterNative = FIRST_CALL_TRANSACTION + 24;

    const android::String16& getInterfaceDescriptor() const override { return mDescriptor; }

    /** Waits for `count` registrations and returns all there are by then. */
    std::vector<Registration> waitForRegistrations(size_t count) {
        std::unique_lock<std::mutex> lock(mLock);
        mArrived.wait_for(lock, std::chrono::seconds(20),
                          [&] { return mRegistrations.size() >= count; });
        return mRegistrations;
    }

    /** Waits for `count` requests and returns all there are by then, as "+tag" and "-tag". */
    std::vector<std::string> waitForRequests(size_t count) {
        std::unique_lock<std::mutex> lock(mLock);
        mArrived.wait_for(lock, std::chrono::seconds(20), [&] { return mRequests.size() >= count; });
        return mRequests;
    }

    /** The pull callback that came with a tag's last registration, null if there was none. */
    android::sp<android::IBinder> callbackOf(int32_t tag) {
        const std::lock_guard<std::mutex> lock(mLock);
        for (size_t i = mRegistrations.size(); i-- > 0;) {
            if (mRegistrations[i].tag == tag) return mCallbacks[i];
        }
        return nullptr;
    }

    /** Pulls a registered tag and waits; true when the answer is a success. */
    bool pull(int32_t tag) {
        const android::sp<android::IBinder> callback = callbackOf(tag);
        if (callback == nullptr) return false;
        const android::sp<FakeResultReceiver> receiver(new FakeResultReceiver());
        android::Parcel request;
        request.writeInterfaceToken(android::String16("android.os.IPullAtomCallback"));
        request.writeInt32(tag);
        request.writeStrongBinder(receiver);
        return callback->transact(FIRST_CALL_TRANSACTION, request, nullptr, FLAG_ONEWAY) ==
                       android::OK &&
               receiver->waitForSuccess(tag);
    }

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        if (code != kRegisterNative && code != kUnregisterNative) {
            return BBinder::onTransact(code, data, reply, flags);
        }
        if (!data.checkInterface(this)) return android::BAD_TYPE;
        const std::lock_guard<std::mutex> lock(mLock);
        Registration registration;
        registration.tag = data.readInt32();
        mRequests.push_back((code == kRegisterNative ? "+" : "-") +
                            std::to_string(registration.tag));
        if (code == kRegisterNative) {
            registration.coolDownMillis = data.readInt64();
            registration.timeoutMillis = data.readInt64();
            data.readInt32Vector(&registration.additiveFields);
            mRegistrations.push_back(registration);
            mCallbacks.push_back(data.readStrongBinder());
        }
        mArrived.notify_all();
        return android::OK;
    }

  private:
    const android::String16 mDescriptor{"android.os.IStatsd"};
    std::mutex mLock;
    std::condition_variable mArrived;
    std::vector<std::string> mRequests;                     // guarded by mLock
    std::vector<Registration> mRegistrations;               // guarded by mLock
    std::vector<android::sp<android::IBinder>> mCallbacks;  // guarded by mLock
};

}  // namespace zstats
