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

/** The handle factory. A key that was never set is answered with an error status. */
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

    /** From now on `key` is answered with this text and result code. */
    void set(const std::string& key, const std::string& text, int32_t code = 0) {
        (*mService->nodes.lock())[key] = {{text}, code};
    }
    /** Successive reads of `key` get these texts; the last one stays. */
    void setSeries(const std::string& key, const std::vector<std::string>& texts) {
        (*mService->nodes.lock())[key] = {texts, 0};
    }
    /** From now on `key` is answered with an error status. */
    void fail(const std::string& key) { mService->nodes.lock()->erase(key); }
    /** The (key, flag) pairs that were asked for, oldest first. */
    Reads reads() const { return mService->reads.get(); }

  private:
    const std::shared_ptr<Service> mService;
};

/**
 * The charger. A method that was never set is answered with an error status. Its client belongs to
 * one callback object and is told of the death through that object's address: do not let it die
 * after a callback object that used it is gone.
 */
class FakeCharger : public PublishedFake {
    struct Answer {
        std::optional<int32_t> value;
        bool ok = false;
    };
    using Calls = std::vector<std::string>;

    struct Service : aidl::vendor::norda::hardware::charger::BnCharger {
// One of the getters, all of which look alike.
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

    /** From now on `method` succeeds with this value, or, without one, leaves the caller's alone. */
    void set(const std::string& method, std::optional<int32_t> value) {
        (*mService->answers.lock())[method] = {value, true};
    }
    /** From now on `method` is answered with an error status, beside the value that was set. */
    void fail(const std::string& method) {
        (*mService->answers.lock())[method].ok = false;
    }
    /** The methods that were called, oldest first. */
    Calls calls() const {
        return mService->calls.get();
    }

  private:
    const std::shared_ptr<Service> mService;
};

/** The touch service, by the numbers of its wire. Answers with an empty text until one is set. */
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
    /** From now on the calls are answered with an error status. */
    void fail() { mService->failing.set(true); }
    /** The (deviceId, nodeFlag) pairs that were asked for, oldest first. */
    Reads reads() const { return mService->reads.get(); }

  private:
    Service* const mService;  // owned by the base
};

}  // namespace zstats
