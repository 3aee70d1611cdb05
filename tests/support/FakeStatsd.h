#pragma once

#include <binder/Binder.h>
#include <binder/IBinder.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "host/stats/EventReader.h"

namespace zstats {

/** A registration as statsd gets it. */
struct Registration {
    int32_t tag;
    int64_t coolDownMillis;
    int64_t timeoutMillis;
    std::vector<int32_t> additiveFields;
};

/** Takes the one answer to a pull, by the numbers of its wire. */
class FakeResultReceiver : public android::BBinder {
  public:
    explicit FakeResultReceiver(size_t maxBytes) : mMaxBytes(maxBytes) {}

    const android::String16& getInterfaceDescriptor() const override { return mDescriptor; }

    /** See FakeStatsd::pull; empty when no answer comes. */
    std::string waitForAnswer() {
        std::unique_lock<std::mutex> lock(mLock);
        mArrived.wait_for(lock, std::chrono::seconds(20), [&] { return !mAnswer.empty(); });
        return mAnswer;
    }

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        if (code != FIRST_CALL_TRANSACTION) return BBinder::onTransact(code, data, reply, flags);
        if (!data.checkInterface(this)) return android::BAD_TYPE;
        const std::string tag = std::to_string(data.readInt32());
        std::string answer = tag + (data.readBool() ? " success" : " failure");
        size_t size = 0;
        for (int32_t left = data.readInt32(); left > 0; --left) {
            data.readInt32();  // not null
            data.readInt32();  // size of the parcelable
            std::vector<uint8_t> bytes;
            data.readByteVector(&bytes);
            size += bytes.size();
            const auto event = readEvent(bytes.data(), bytes.size());
            if (!event || std::to_string(event->atomId) != tag) return android::BAD_VALUE;
            answer += event->built ? " [" : " unbuilt[";
            for (const auto& field : event->fields)
                answer += std::to_string(std::get<int32_t>(field));
            answer += "]";
        }
        if (size > mMaxBytes) return android::FAILED_TRANSACTION;
        const std::lock_guard<std::mutex> lock(mLock);
        mAnswer += answer;
        mArrived.notify_all();
        return android::OK;
    }

  private:
    const size_t mMaxBytes;
    const android::String16 mDescriptor{"android.os.IPullAtomResultReceiver"};
    std::mutex mLock;
    std::condition_variable mArrived;
    std::string mAnswer;  // guarded by mLock
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

    /**
     * Pulls a registered tag and waits for the answer: "TAG success" or "TAG failure", and the
     * int32 fields of each event. An answer with more than `maxBytes` of events does not arrive.
     */
    std::string answerOf(int32_t tag, size_t maxBytes = 1 << 20) {
        const android::sp<android::IBinder> callback = callbackOf(tag);
        if (callback == nullptr) return "";
        const android::sp<FakeResultReceiver> receiver(new FakeResultReceiver(maxBytes));
        android::Parcel request;
        request.writeInterfaceToken(android::String16("android.os.IPullAtomCallback"));
        request.writeInt32(tag);
        request.writeStrongBinder(receiver);
        callback->transact(FIRST_CALL_TRANSACTION, request, nullptr, FLAG_ONEWAY);
        return receiver->waitForAnswer();
    }
    /** Whether the pull of `tag` is answered with success in time. */
    bool pull(int32_t tag) { return answerOf(tag).find(" success") != std::string::npos; }

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
