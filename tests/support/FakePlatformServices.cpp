#include "tests/support/FakePlatformServices.h"

#include <android/os/BnThermalService.h>
#include <binder/Binder.h>
#include <binder/Parcel.h>

#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace zstats {

using android::Parcel;
using android::sp;
using android::status_t;
using android::String16;
using android::binder::Status;
using android::os::IThermalEventListener;
using android::os::IThermalStatusListener;
using android::os::Temperature;

struct FakeCalda::Service : android::BBinder {
    const String16& getInterfaceDescriptor() const override { return mDescriptor; }

    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        const std::lock_guard lock(mLock);
        const auto words = mWords.find(code);
        if (words == mWords.end()) return BBinder::onTransact(code, data, reply, flags);
        if (!data.checkInterface(this)) {
            ++mWrongTokens;
            return android::PERMISSION_DENIED;
        }
        for (const int32_t word : words->second) reply->writeInt32(word);
        return android::OK;
    }

    std::mutex mLock;  // guards all below
    std::map<uint32_t, std::vector<int32_t>> mWords;
    int mWrongTokens = 0;

    const String16 mDescriptor{"com.norda.calda.ICaldaService"};
};

FakeCalda::FakeCalda() : FakeCalda(new Service) {}

FakeCalda::FakeCalda(Service* service)
      : PublishedFake(kName, sp<android::IBinder>(service)), mService(service) {}

void FakeCalda::set(uint32_t code, std::vector<int32_t> words) {
    const std::lock_guard lock(mService->mLock);
    mService->mWords[code] = std::move(words);
}

int FakeCalda::wrongTokens() const {
    const std::lock_guard lock(mService->mLock);
    return mService->mWrongTokens;
}

struct FakeThermalService::Service : android::os::BnThermalService {
    Status getCurrentTemperaturesWithType(int32_t type, std::vector<Temperature>* out) override {
        const std::lock_guard lock(mLock);
        mTypes.push_back(type);
        if (mException != 0) return Status::fromExceptionCode(mException);
        for (const float value : mTemperatures) {
            out->emplace_back(value, type, String16("cpu"), 0);
        }
        return Status::ok();
    }

    Status registerThermalEventListener(const sp<IThermalEventListener>&, bool*) override {
        return unsupported();
    }
    Status registerThermalEventListenerWithType(const sp<IThermalEventListener>&, int32_t,
                                                bool*) override {
        return unsupported();
    }
    Status unregisterThermalEventListener(const sp<IThermalEventListener>&, bool*) override {
        return unsupported();
    }
    Status getCurrentTemperatures(std::vector<Temperature>*) override { return unsupported(); }
    Status registerThermalStatusListener(const sp<IThermalStatusListener>&, bool*) override {
        return unsupported();
    }
    Status unregisterThermalStatusListener(const sp<IThermalStatusListener>&, bool*) override {
        return unsupported();
    }
    Status getCurrentThermalStatus(int32_t*) override { return unsupported(); }

    std::mutex mLock;  // guards all below
    std::vector<float> mTemperatures;
    std::vector<int32_t> mTypes;
    int32_t mException = 0;

    static Status unsupported() {
        return Status::fromExceptionCode(Status::EX_UNSUPPORTED_OPERATION);
    }
};

FakeThermalService::FakeThermalService() : FakeThermalService(new Service) {}

FakeThermalService::FakeThermalService(Service* service)
      : PublishedFake(kName, sp<android::IBinder>(service)), mService(service) {}

void FakeThermalService::set(std::vector<float> temperatures) {
    const std::lock_guard lock(mService->mLock);
    mService->mTemperatures = std::move(temperatures);
}

void FakeThermalService::setException(int32_t code) {
    const std::lock_guard lock(mService->mLock);
    mService->mException = code;
}

std::vector<int32_t> FakeThermalService::types() const {
    const std::lock_guard lock(mService->mLock);
    return mService->mTypes;
}

struct FakeAudio::Service : android::BBinder {
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (code != kMonitor) return BBinder::onTransact(code, data, reply, flags);
        const std::lock_guard lock(mLock);
        mRequest.assign(reinterpret_cast<const char*>(data.data()), data.dataSize());
        return mText ? reply->writeCString(mText->c_str()) : android::OK;
    }

    std::mutex mLock;  // guards all below
    std::optional<std::string> mText;
    std::string mRequest;
};

FakeAudio::FakeAudio() : FakeAudio(new Service) {}

FakeAudio::FakeAudio(Service* service)
      : PublishedFake(kName, sp<android::IBinder>(service)), mService(service) {}

void FakeAudio::set(const char* text) {
    const std::lock_guard lock(mService->mLock);
    mService->mText = text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

std::string FakeAudio::request() const {
    const std::lock_guard lock(mService->mLock);
    return mService->mRequest;
}

}  // namespace zstats
