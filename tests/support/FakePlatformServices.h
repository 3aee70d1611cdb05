#pragma once

#include <binder/Binder.h>
#include <binder/Parcel.h>
#include <binder/Status.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/Guarded.h"
#include "tests/support/PublishedFake.h"

namespace zstats {

/** The maker's thermal service: raw transactions with an interface token, replies of int32. */
class FakeCalda : public PublishedFake {
    using Parcel = android::Parcel;
    using Words = std::vector<int32_t>;

    struct Service : android::BBinder {
        const android::String16& getInterfaceDescriptor() const override { return descriptor; }
        android::status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                     uint32_t flags) override {
            const auto known = words.get();
            const auto answer = known.find(code);
            if (answer == known.end()) return BBinder::onTransact(code, data, reply, flags);
            if (!data.checkInterface(this) || data.dataAvail() != 0) return android::BAD_VALUE;
            for (const int32_t word : answer->second) reply->writeInt32(word);
            return android::OK;
        }

        Guarded<std::map<uint32_t, Words>> words;
        const android::String16 descriptor{"com.norda.calda.ICaldaService"};
    };

  public:
    static constexpr char kName[] = "calda";
    static constexpr uint32_t kStatus = 4;
    static constexpr uint32_t kShell = 21;
    static constexpr uint32_t kAmbient = 25;

    FakeCalda() : FakeCalda(new Service) {}
    explicit FakeCalda(Service* service)
          : PublishedFake(kName, android::sp<android::IBinder>(service)), mService(service) {}

    /** Sets the words of the reply to `code`. Other codes are unknown transactions. */
    void set(uint32_t code, const Words& words) { (*mService->words.lock())[code] = words; }

  private:
    Service* const mService;  // owned by the base
};

/** The platform's thermal service: the query by type, with the wire's numbers written out. */
class FakeThermalService : public PublishedFake {
    using Parcel = android::Parcel;

    struct Service : android::BBinder {
        const android::String16& getInterfaceDescriptor() const override { return descriptor; }
        android::status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                     uint32_t flags) override {
            if (code != 5) return BBinder::onTransact(code, data, reply, flags);
            if (!data.checkInterface(this)) return android::PERMISSION_DENIED;
            const int32_t type = data.readInt32();
            types.lock()->push_back(type);
            if (exception.get() != 0) {
                return android::binder::Status::fromExceptionCode(exception.get())
                        .writeToParcel(reply);
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

        const android::String16 descriptor{"android.os.IThermalService"};
        Guarded<std::vector<float>> temperatures;
        Guarded<std::vector<int32_t>> types;
        Guarded<int32_t> exception;
    };

  public:
    static constexpr char kName[] = "thermalservice";

    FakeThermalService() : FakeThermalService(new Service) {}
    explicit FakeThermalService(Service* service)
          : PublishedFake(kName, android::sp<android::IBinder>(service)), mService(service) {}

    /** Sets the temperatures in degrees Celsius, for every type. */
    void set(std::vector<float> temperatures) { mService->temperatures.set(temperatures); }
    /** Makes queries fail with this exception code; 0 for success. */
    void setException(int32_t code) { mService->exception.set(code); }
    /** The requested types, oldest first. */
    std::vector<int32_t> types() const { return mService->types.get(); }

  private:
    Service* const mService;  // owned by the base
};

/** The audio service: only the monitor of the amplifier's power. */
class FakeAudio : public PublishedFake {
    using Parcel = android::Parcel;

    struct Service : android::BBinder {
        android::status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
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

  public:
    static constexpr char kName[] = "audio";
    static constexpr uint32_t kMonitor = 129;

    FakeAudio() : FakeAudio(new Service) {}
    explicit FakeAudio(Service* service)
          : PublishedFake(kName, android::sp<android::IBinder>(service)), mService(service) {}

    /** Sets the reply's text; no value for a reply without text. */
    void set(std::optional<std::string> text) { mService->text.set(text); }
    /** The bytes of the last request. */
    std::string request() const { return mService->request.get(); }

  private:
    Service* const mService;  // owned by the base
};

}  // namespace zstats
