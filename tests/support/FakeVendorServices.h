#pragma once

#include <aidl/ChargerMethods.h>
#include <aidl/vendor/norda/hardware/charger/BnCharger.h>
#include <aidl/vendor/norda/hardware/handlefactory/BnHandleFactory.h>
#include <binder/Binder.h>
#include <binder/Parcel.h>
#include <binder/Status.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/Guarded.h"
#include "tests/support/PublishedFake.h"

namespace zstats {

constexpr int32_t kServiceError = -5;

inline ndk::ScopedAStatus errorUnless(bool ok) {
    return ok ? ndk::ScopedAStatus::ok()
              : ndk::ScopedAStatus(AStatus_fromServiceSpecificError(kServiceError));
}

/** The handle factory. A key that was not set gives an error status. */
class FakeHandleFactory : public PublishedFake {
    struct Node {
        std::vector<std::string> texts;
        int32_t code;
        size_t next = 0;
    };
    using Reads = std::vector<std::pair<std::string, int32_t>>;
    using Result = aidl::vendor::norda::hardware::handlefactory::HandleResult;

    struct Service : aidl::vendor::norda::hardware::handlefactory::BnHandleFactory {
        ndk::ScopedAStatus readHandle(const std::string& key, int32_t flag, Result* out) override {
            reads.lock()->emplace_back(key, flag);
            auto held = nodes.lock();
            const auto found = held->find(key);
            if (found == held->end()) return errorUnless(false);
            Node& node = found->second;
            out->code = node.code;
            out->content = node.texts[node.next];
            if (node.next + 1 < node.texts.size()) ++node.next;
            return ndk::ScopedAStatus::ok();
        }

        Guarded<std::map<std::string, Node>> nodes;
        Guarded<Reads> reads;
    };

  public:
    static constexpr char kName[] = "vendor.norda.hardware.handlefactory.IHandleFactory/default";

    explicit FakeHandleFactory(std::shared_ptr<Service> service = ndk::SharedRefBase::make<Service>())
          : PublishedFake(kName, service->asBinder()), mService(std::move(service)) {}
    /** Dies, so that the process-wide client drops its connection before the next test. */
    ~FakeHandleFactory() { remote().die(); }

    /** Sets the text and result code of `key`. */
    void set(const std::string& key, const std::string& text, int32_t code = 0) {
        (*mService->nodes.lock())[key] = {{text}, code};
    }
    /** Sets the texts of successive reads of `key`; the last one stays. */
    void setSeries(const std::string& key, const std::vector<std::string>& texts) {
        (*mService->nodes.lock())[key] = {texts, 0};
    }
    /** Makes reads of `key` fail with an error status. */
    void fail(const std::string& key) { mService->nodes.lock()->erase(key); }
    /** The requested (key, flag) pairs, oldest first. */
    Reads reads() const { return mService->reads.get(); }

  private:
    const std::shared_ptr<Service> mService;
};

/**
 * The charger. A method that was not set gives an error status. The client's death notice uses the
 * address of its callback object, so the charger must not die after such an object was destroyed.
 */
class FakeCharger : public PublishedFake {
    struct Answer {
        std::optional<int32_t> value;
        bool ok = false;
    };
    using Calls = std::vector<std::string>;

    struct Service : aidl::vendor::norda::hardware::charger::BnCharger {
// One getter; all have the same signature.
#define ANSWER(method)                                 \
    ndk::ScopedAStatus method(int32_t* out) override { \
        return answer(#method, out);                   \
    }
        ZSTATS_CHARGER_METHODS(ANSWER)
#undef ANSWER

        ndk::ScopedAStatus answer(const char* method, int32_t* out) {
            calls.lock()->emplace_back(method);
            const Answer given = (*answers.lock())[method];
            if (given.value) *out = *given.value;
            return errorUnless(given.ok);
        }

        Guarded<std::map<std::string, Answer>> answers;
        Guarded<Calls> calls;
    };

  public:
    static constexpr char kName[] = "vendor.norda.hardware.charger.ICharger/default";

    explicit FakeCharger(std::shared_ptr<Service> service = ndk::SharedRefBase::make<Service>())
          : PublishedFake(kName, service->asBinder()), mService(std::move(service)) {}

    /** Makes `method` succeed with this value; without one, the out value stays unchanged. */
    void set(const std::string& method, std::optional<int32_t> value) {
        (*mService->answers.lock())[method] = {value, true};
    }
    /** Makes `method` return an error status together with its value. */
    void fail(const std::string& method) {
        (*mService->answers.lock())[method].ok = false;
    }
    /** The called methods, oldest first. */
    Calls calls() const {
        return mService->calls.get();
    }

  private:
    const std::shared_ptr<Service> mService;
};

/** The touch service, with the wire's numbers written out. Its text is empty until set. */
class FakeTouch : public PublishedFake {
    using Parcel = android::Parcel;
    using Status = android::binder::Status;
    using Reads = std::vector<std::pair<int32_t, int32_t>>;

    struct Service : android::BBinder {
        const android::String16& getInterfaceDescriptor() const override { return descriptor; }
        android::status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                     uint32_t flags) override {
            if (code != 1) return BBinder::onTransact(code, data, reply, flags);
            if (!data.checkInterface(this)) return android::PERMISSION_DENIED;
            const int32_t device = data.readInt32();
            reads.lock()->emplace_back(device, data.readInt32());
            if (failing.get()) {
                return Status::fromServiceSpecificError(kServiceError).writeToParcel(reply);
            }
            reply->writeInt32(0);  // no exception
            return reply->writeString16(text.get());
        }

        const android::String16 descriptor{"vendor.norda.hardware.touch.INordaTouch"};
        Guarded<android::String16> text;
        Guarded<bool> failing;
        Guarded<Reads> reads;
    };

  public:
    static constexpr char kName[] = "vendor.norda.hardware.touch.INordaTouch/default";

    FakeTouch() : FakeTouch(new Service) {}
    explicit FakeTouch(Service* service)
          : PublishedFake(kName, android::sp<android::IBinder>(service)), mService(service) {}

    /** Text as UTF-8. */
    void setText(const std::string& text) {
        mService->text.set(android::String16(text.data(), text.size()));
    }
    /** Makes calls fail with an error status. */
    void fail() { mService->failing.set(true); }
    /** The requested (deviceId, nodeFlag) pairs, oldest first. */
    Reads reads() const { return mService->reads.get(); }

  private:
    Service* const mService;  // owned by the base
};

}  // namespace zstats
