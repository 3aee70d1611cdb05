#include "tests/support/FakeVendorServices.h"

#include <aidl/vendor/norda/hardware/charger/BnCharger.h>
#include <aidl/vendor/norda/hardware/handlefactory/BnHandleFactory.h>
#include <vendor/norda/hardware/touch/BnNordaTouch.h>

#include <map>
#include <mutex>

namespace zstats {

using aidl::vendor::norda::hardware::charger::BnCharger;
using aidl::vendor::norda::hardware::handlefactory::BnHandleFactory;
using aidl::vendor::norda::hardware::handlefactory::HandleResult;
using ndk::ScopedAStatus;

namespace {

constexpr int32_t kServiceError = -5;

ScopedAStatus errorStatus() {
    return ScopedAStatus(AStatus_fromServiceSpecificError(kServiceError));
}

}  // namespace

struct FakeHandleFactory::Service : BnHandleFactory {
    ScopedAStatus readHandle(const std::string& key, int32_t flag, HandleResult* result) override {
        const std::lock_guard lock(mutex);
        reads.emplace_back(key, flag);
        const auto found = nodes.find(key);
        if (found == nodes.end()) return errorStatus();
        Node& node = found->second;
        result->code = node.code;
        result->content = node.texts[node.next];
        if (node.next + 1 < node.texts.size()) ++node.next;
        return ScopedAStatus::ok();
    }

    struct Node {
        std::vector<std::string> texts;
        size_t next;
        int32_t code;
    };
    std::mutex mutex;  // guards all below
    std::map<std::string, Node> nodes;
    std::vector<std::pair<std::string, int32_t>> reads;
};

FakeHandleFactory::FakeHandleFactory() : FakeHandleFactory(ndk::SharedRefBase::make<Service>()) {}

FakeHandleFactory::FakeHandleFactory(std::shared_ptr<Service> service)
      : PublishedFake(kName, service->asBinder()), mService(std::move(service)) {}

void FakeHandleFactory::set(const std::string& key, const std::string& text, int32_t code) {
    setSeries(key, {text}, code);
}

void FakeHandleFactory::setSeries(const std::string& key, std::vector<std::string> texts,
                                  int32_t code) {
    const std::lock_guard lock(mService->mutex);
    mService->nodes[key] = {std::move(texts), 0, code};
}

void FakeHandleFactory::fail(const std::string& key) {
    const std::lock_guard lock(mService->mutex);
    mService->nodes.erase(key);
}

std::vector<std::pair<std::string, int32_t>> FakeHandleFactory::reads() const {
    const std::lock_guard lock(mService->mutex);
    return mService->reads;
}

struct FakeCharger::Service : BnCharger {
// One of the getters, all of which look alike.
#define ANSWER(method)                            \
    ScopedAStatus method(int32_t* out) override { \
        return answer(#method, out);              \
    }
    ANSWER(getBatteryVoltageNow)
    ANSWER(getPsyBatteryCC)
    ANSWER(getPsyBatteryCurrentNow)
    ANSWER(getPsyBatteryFcc)
    ANSWER(getPsyBatteryPchg)
    ANSWER(getPsyBatteryPchgResetCount)
    ANSWER(getPsyBatteryTemp)
    ANSWER(getPsyChargeTech)
    ANSWER(getPsyFastChgType)
    ANSWER(getPsyInputCurrent)
    ANSWER(getUIsohValue)
    ANSWER(getUsbInputCurrentNow)
#undef ANSWER

    ScopedAStatus answer(const char* method, int32_t* out) {
        const std::lock_guard lock(mutex);
        calls.emplace_back(method);
        *out = answers[method].value;
        return answers[method].ok ? ScopedAStatus::ok() : errorStatus();
    }

    struct Answer {
        int32_t value = 0;
        bool ok = false;
    };
    std::mutex mutex;  // guards all below
    std::map<std::string, Answer> answers;
    std::vector<std::string> calls;
};

FakeCharger::FakeCharger() : FakeCharger(ndk::SharedRefBase::make<Service>()) {}

FakeCharger::FakeCharger(std::shared_ptr<Service> service)
      : PublishedFake(kName, service->asBinder()), mService(std::move(service)) {}

void FakeCharger::set(const std::string& method, int32_t value) {
    const std::lock_guard lock(mService->mutex);
    mService->answers[method] = {value, true};
}

void FakeCharger::fail(const std::string& method) {
    const std::lock_guard lock(mService->mutex);
    mService->answers[method].ok = false;
}

std::vector<std::string> FakeCharger::calls() const {
    const std::lock_guard lock(mService->mutex);
    return mService->calls;
}

struct FakeTouch::Service : ::vendor::norda::hardware::touch::BnNordaTouch {
    android::binder::Status touchReadNodeFile(int32_t deviceId, int32_t nodeFlag,
                                              android::String16* out) override {
        const std::lock_guard lock(mutex);
        reads.emplace_back(deviceId, nodeFlag);
        *out = text;
        return failing ? android::binder::Status::fromServiceSpecificError(kServiceError)
                       : android::binder::Status::ok();
    }

    std::mutex mutex;  // guards all below
    android::String16 text;
    bool failing = false;
    std::vector<std::pair<int32_t, int32_t>> reads;
};

FakeTouch::FakeTouch() : FakeTouch(new Service) {}

FakeTouch::FakeTouch(Service* service)
      : PublishedFake(kName, android::sp<android::IBinder>(service)), mService(service) {}

void FakeTouch::setText(const std::string& text) {
    const std::lock_guard lock(mService->mutex);
    mService->text = android::String16(text.data(), text.size());
}

void FakeTouch::fail() {
    const std::lock_guard lock(mService->mutex);
    mService->failing = true;
}

std::vector<std::pair<int32_t, int32_t>> FakeTouch::reads() const {
    const std::lock_guard lock(mService->mutex);
    return mService->reads;
}

}  // namespace zstats
