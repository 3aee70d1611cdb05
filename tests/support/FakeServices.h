#pragma once

#include <aidl/ChargerMethods.h>
#include <aidl/vendor/norda/hardware/charger/BnCharger.h>
#include <aidl/vendor/norda/hardware/handlefactory/BnHandleFactory.h>
#include <binder/Parcel.h>
#include <binder/Status.h>

#include <map>
#include <optional>

#include "tests/support/Guarded.h"
#include "tests/support/PublishedFake.h"

namespace zstats {

constexpr int32_t kServiceError = -5;

inline ndk::ScopedAStatus errorUnless(bool ok) {
    return ok ? ndk::ScopedAStatus::ok()
              : ndk::ScopedAStatus(AStatus_fromServiceSpecificError(kServiceError));
}

struct HandleFactoryService : aidl::vendor::norda::hardware::handlefactory::BnHandleFactory {
    struct Node {
        std::vector<std::string> texts;
        int32_t code;
        size_t next = 0;
    };
    using Result = aidl::vendor::norda::hardware::handlefactory::HandleResult;

    ndk::ScopedAStatus readHandle(const std::string& key, int32_t flag, Result* out) override {
        reads.lock()->emplace_back(key, flag);
        auto held = nodes.lock();
        const auto found = held->find(key);
        if (found == held->end()) return errorUnless(false);
        Node& node = found->second;
        out->code = node.code;
        out->content = node.texts[node.next];
        if (node.next + 1 < node.texts.size()) ++node.next;
        return errorUnless(true);
    }

    Guarded<std::map<std::string, Node>> nodes;
    Guarded<std::vector<std::pair<std::string, int32_t>>> reads;
};

/** The handle factory. A key that was not set gives an error status. */
class FakeHandleFactory : public PublishedNdkFake<HandleFactoryService> {
  public:
    static constexpr char kName[] = "vendor.norda.hardware.handlefactory.IHandleFactory/default";

    FakeHandleFactory() : PublishedNdkFake(kName) {}
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
    auto reads() const { return mService->reads.get(); }
};

struct ChargerService : aidl::vendor::norda::hardware::charger::BnCharger {
    struct Answer {
        std::optional<int32_t> value;
        bool ok = false;
    };
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
    Guarded<std::vector<std::string>> calls;
};

/**
 * The charger. A method that was not set gives an error status. The client's death notice uses the
 * address of its callback object, so the charger must not die after such an object was destroyed.
 */
class FakeCharger : public PublishedNdkFake<ChargerService> {
  public:
    static constexpr char kName[] = "vendor.norda.hardware.charger.ICharger/default";

    FakeCharger() : PublishedNdkFake(kName) {}

    /** Makes `method` succeed with this value; without one, the out value stays unchanged. */
    void set(const std::string& method, std::optional<int32_t> value) {
        (*mService->answers.lock())[method] = {value, true};
    }
    /** Makes `method` return an error status together with its value. */
    void fail(const std::string& method) { (*mService->answers.lock())[method].ok = false; }
    /** The called methods, oldest first. */
    auto calls() const { return mService->calls.get(); }
};

struct TouchService : Claiming {
    TouchService() : Claiming("vendor.norda.hardware.touch.INordaTouch") {}
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        if (code != 1) return BBinder::onTransact(code, data, reply, flags);
        if (!data.checkInterface(this)) return android::PERMISSION_DENIED;
        const int32_t device = data.readInt32();
        reads.lock()->emplace_back(device, data.readInt32());
        if (failing.get()) {
            return android::binder::Status::fromServiceSpecificError(kServiceError)
                    .writeToParcel(reply);
        }
        reply->writeInt32(0);  // no exception
        return reply->writeString16(text.get());
    }

    Guarded<android::String16> text;
    Guarded<bool> failing;
    Guarded<std::vector<std::pair<int32_t, int32_t>>> reads;
};

/** The touch service, with the wire's numbers written out. Its text is empty until set. */
class FakeTouch : public PublishedCppFake<TouchService> {
  public:
    static constexpr char kName[] = "vendor.norda.hardware.touch.INordaTouch/default";

    FakeTouch() : PublishedCppFake(kName) {}

    /** Text as UTF-8. */
    void setText(const std::string& text) {
        mService->text.set(android::String16(text.data(), text.size()));
    }
    /** Makes calls fail with an error status. */
    void fail() { mService->failing.set(true); }
    /** The requested (deviceId, nodeFlag) pairs, oldest first. */
    auto reads() const { return mService->reads.get(); }
};

struct CaldaService : Claiming {
    CaldaService() : Claiming("com.norda.calda.ICaldaService") {}
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        const auto known = words.get();
        const auto answer = known.find(code);
        if (answer == known.end()) return BBinder::onTransact(code, data, reply, flags);
        if (!data.checkInterface(this) || data.dataAvail() != 0) return android::BAD_VALUE;
        for (const int32_t word : answer->second) reply->writeInt32(word);
        return android::OK;
    }

    Guarded<std::map<uint32_t, std::vector<int32_t>>> words;
};

/** The maker's thermal service: raw transactions with an interface token, replies of int32. */
class FakeCalda : public PublishedCppFake<CaldaService> {
  public:
    static constexpr char kName[] = "calda";
    static constexpr uint32_t kStatus = 4;
    static constexpr uint32_t kShell = 21;
    static constexpr uint32_t kAmbient = 25;

    FakeCalda() : PublishedCppFake(kName) {}

    /** Sets the words of the reply to `code`. Other codes are unknown transactions. */
    void set(uint32_t code, const std::vector<int32_t>& words) {
        (*mService->words.lock())[code] = words;
    }
};

struct ThermalService : Claiming {
    ThermalService() : Claiming("android.os.IThermalService") {}
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        if (code != 5) return BBinder::onTransact(code, data, reply, flags);
        if (!data.checkInterface(this)) return android::PERMISSION_DENIED;
        const int32_t type = data.readInt32();
        types.lock()->push_back(type);
        if (exception.get() != 0) {
            return android::binder::Status::fromExceptionCode(exception.get()).writeToParcel(reply);
        }
        const auto values = temperatures.get();
        reply->writeInt32(0);  // no exception
        reply->writeInt32(static_cast<int32_t>(values.size()));
        for (const float value : values) {
            reply->writeInt32(1);  // not null
            reply->writeFloat(value);
            reply->writeInt32(type);
            reply->writeString16(android::String16("cpu"));
            reply->writeInt32(0);  // not throttled
        }
        return android::OK;
    }

    Guarded<std::vector<float>> temperatures;
    Guarded<std::vector<int32_t>> types;
    Guarded<int32_t> exception;
};

/** The platform's thermal service: the query by type, with the wire's numbers written out. */
class FakeThermalService : public PublishedCppFake<ThermalService> {
  public:
    static constexpr char kName[] = "thermalservice";

    FakeThermalService() : PublishedCppFake(kName) {}

    /** Sets the temperatures in degrees Celsius, for every type. */
    void set(const std::vector<float>& temperatures) { mService->temperatures.set(temperatures); }
    /** Makes queries fail with this exception code; 0 for success. */
    void setException(int32_t code) { mService->exception.set(code); }
    /** The requested types, oldest first. */
    auto types() const { return mService->types.get(); }
};

struct AudioService : android::BBinder {
    static constexpr uint32_t kMonitor = 129;

    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        if (code != kMonitor) return BBinder::onTransact(code, data, reply, flags);
        request.set({reinterpret_cast<const char*>(data.data()), data.dataSize()});
        const auto answer = text.get();
        // A C string with its NUL, padded to a multiple of four.
        return answer ? reply->write(answer->c_str(), answer->size() + 1) : android::OK;
    }

    Guarded<std::optional<std::string>> text;
    Guarded<std::string> request;
};

/** The audio service: only the monitor of the amplifier's power. */
class FakeAudio : public PublishedCppFake<AudioService> {
  public:
    static constexpr char kName[] = "audio";

    FakeAudio() : PublishedCppFake(kName) {}

    /** Sets the reply's text; no value for a reply without text. */
    void set(const std::optional<std::string>& text) { mService->text.set(text); }
    /** The bytes of the last request. */
    auto request() const { return mService->request.get(); }
};

}  // namespace zstats
