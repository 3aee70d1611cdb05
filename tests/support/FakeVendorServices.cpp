#include "tests/support/FakeVendorServices.h"

#include <aidl/vendor/norda/hardware/charger/BnCharger.h>
#include <aidl/vendor/norda/hardware/handlefactory/BnHandleFactory.h>
#include <android/binder_manager.h>
#include <binder/IServiceManager.h>
#include <vendor/norda/hardware/touch/BnNordaTouch.h>

#include <map>
#include <mutex>

namespace zstats {

using aidl::vendor::norda::hardware::charger::BnCharger;
using aidl::vendor::norda::hardware::handlefactory::BnHandleFactory;
using aidl::vendor::norda::hardware::handlefactory::HandleResult;

namespace {

constexpr int32_t kServiceError = -5;

ndk::ScopedAStatus errorStatus() {
    return ndk::ScopedAStatus(AStatus_fromServiceSpecificError(kServiceError));
}

}  // namespace

class FakeHandleFactory::Service : public BnHandleFactory {
  public:
    void set(const std::string& key, std::vector<std::string> texts, int32_t code) {
        std::lock_guard lock(mLock);
        mNodes[key] = {std::move(texts), 0, code};
    }
    void fail(const std::string& key) {
        std::lock_guard lock(mLock);
        mNodes.erase(key);
    }
    std::vector<std::pair<std::string, int32_t>> reads() const {
        std::lock_guard lock(mLock);
        return mReads;
    }

    ndk::ScopedAStatus readHandle(const std::string& key, int32_t flag,
                                  HandleResult* result) override {
        std::lock_guard lock(mLock);
        mReads.emplace_back(key, flag);
        const auto found = mNodes.find(key);
        if (found == mNodes.end()) return errorStatus();
        Node& node = found->second;
        result->code = node.code;
        result->content = node.texts[node.next];
        if (node.next + 1 < node.texts.size()) ++node.next;
        return ndk::ScopedAStatus::ok();
    }

  private:
    struct Node {
        std::vector<std::string> texts;
        size_t next;
        int32_t code;
    };
    mutable std::mutex mLock;
    std::map<std::string, Node> mNodes;
    std::vector<std::pair<std::string, int32_t>> mReads;
};

FakeHandleFactory::FakeHandleFactory() : mService(ndk::SharedRefBase::make<Service>()) {
    publish();
}

FakeHandleFactory::~FakeHandleFactory() {
    mRemote->die();
}

void FakeHandleFactory::set(const std::string& key, const std::string& text, int32_t code) {
    mService->set(key, {text}, code);
}

void FakeHandleFactory::setSeries(const std::string& key, std::vector<std::string> texts) {
    mService->set(key, std::move(texts), 0);
}

void FakeHandleFactory::fail(const std::string& key) {
    mService->fail(key);
}

std::vector<std::pair<std::string, int32_t>> FakeHandleFactory::reads() const {
    return mService->reads();
}

void FakeHandleFactory::publish() {
    mRemote = inprocess::publish(kName, mService->asBinder());
}

class FakeCharger::Service : public BnCharger {
  public:
    using Status = ndk::ScopedAStatus;

    void set(const std::string& method, int32_t value, bool ok) {
        std::lock_guard lock(mLock);
        mAnswers[method] = {value, ok};
    }
    void fail(const std::string& method) {
        std::lock_guard lock(mLock);
        mAnswers[method].ok = false;
    }
    std::vector<std::string> calls() const {
        std::lock_guard lock(mLock);
        return mCalls;
    }

    Status getBatteryVoltageNow(int32_t* out) override {
        return answer("getBatteryVoltageNow", out);
    }
    Status getPsyBatteryCC(int32_t* out) override { return answer("getPsyBatteryCC", out); }
    Status getPsyBatteryCurrentNow(int32_t* out) override {
        return answer("getPsyBatteryCurrentNow", out);
    }
    Status getPsyBatteryFcc(int32_t* out) override { return answer("getPsyBatteryFcc", out); }
    Status getPsyBatteryPchg(int32_t* out) override { return answer("getPsyBatteryPchg", out); }
    Status getPsyBatteryPchgResetCount(int32_t* out) override {
        return answer("getPsyBatteryPchgResetCount", out);
    }
    Status getPsyBatteryTemp(int32_t* out) override { return answer("getPsyBatteryTemp", out); }
    Status getPsyChargeTech(int32_t* out) override { return answer("getPsyChargeTech", out); }
    Status getPsyFastChgType(int32_t* out) override { return answer("getPsyFastChgType", out); }
    Status getPsyInputCurrent(int32_t* out) override { return answer("getPsyInputCurrent", out); }
    Status getUIsohValue(int32_t* out) override { return answer("getUIsohValue", out); }
    Status getUsbInputCurrentNow(int32_t* out) override {
        return answer("getUsbInputCurrentNow", out);
    }

  private:
    struct Answer {
        int32_t value = 0;
        bool ok = false;
    };

    /** Writes the value also when the status is an error; a proxy's caller does not see it then. */
    Status answer(const char* method, int32_t* out) {
        std::lock_guard lock(mLock);
        mCalls.emplace_back(method);
        *out = mAnswers[method].value;
        return mAnswers[method].ok ? Status::ok() : errorStatus();
    }

    mutable std::mutex mLock;
    std::map<std::string, Answer> mAnswers;
    std::vector<std::string> mCalls;
};

FakeCharger::FakeCharger() : mService(ndk::SharedRefBase::make<Service>()) {
    publish();
}

FakeCharger::~FakeCharger() {
    inprocess::withdraw(kName);
}

void FakeCharger::set(const std::string& method, int32_t value) {
    mService->set(method, value, true);
}

void FakeCharger::fail(const std::string& method) {
    mService->fail(method);
}

std::vector<std::string> FakeCharger::calls() const {
    return mService->calls();
}

void FakeCharger::publish() {
    mRemote = inprocess::publish(kName, mService->asBinder());
}

void FakeCharger::publishLocal() {
    inprocess::withdraw(kName);
    AServiceManager_addService(mService->asBinder().get(), kName);
}

class FakeTouch::Service : public ::vendor::norda::hardware::touch::BnNordaTouch {
  public:
    void setText(const std::string& text) {
        std::lock_guard lock(mLock);
        mText = android::String16(text.data(), text.size());
    }
    void fail() {
        std::lock_guard lock(mLock);
        mFailing = true;
    }
    std::vector<std::pair<int32_t, int32_t>> reads() const {
        std::lock_guard lock(mLock);
        return mReads;
    }

    android::binder::Status touchReadNodeFile(int32_t deviceId, int32_t nodeFlag,
                                              android::String16* text) override {
        std::lock_guard lock(mLock);
        mReads.emplace_back(deviceId, nodeFlag);
        *text = mText;
        return mFailing ? android::binder::Status::fromServiceSpecificError(kServiceError)
                        : android::binder::Status::ok();
    }

  private:
    mutable std::mutex mLock;
    android::String16 mText;
    bool mFailing = false;
    std::vector<std::pair<int32_t, int32_t>> mReads;
};

FakeTouch::FakeTouch() : mService(new Service()) {
    publish();
}

FakeTouch::~FakeTouch() {
    inprocess::withdraw(kName);
}

void FakeTouch::setText(const std::string& text) {
    mService->setText(text);
}

void FakeTouch::fail() {
    mService->fail();
}

std::vector<std::pair<int32_t, int32_t>> FakeTouch::reads() const {
    return mService->reads();
}

void FakeTouch::publish() {
    mRemote = inprocess::publish(kName, android::sp<android::IBinder>(mService));
}

void FakeTouch::publishLocal() {
    inprocess::withdraw(kName);
    android::defaultServiceManager()->addService(android::String16(kName), mService);
}

}  // namespace zstats
