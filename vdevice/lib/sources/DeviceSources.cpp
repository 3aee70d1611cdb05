#include "vdevice/lib/sources/DeviceSources.h"

#include <aidl/vendor/norda/hardware/charger/ICharger.h>
#include <aidl/vendor/norda/hardware/handlefactory/IHandleFactory.h>
#include <android-base/file.h>
#include <android/binder_manager.h>
#include <android/os/IThermalService.h>
#include <binder/IServiceManager.h>
#include <sys/system_properties.h>
#include <vendor/norda/hardware/touch/INordaTouch.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "vdevice/lib/sources/ChargerMethods.h"
#include "vendor/include/uah_client.h"

namespace zstats::vdevice {
namespace {

using aidl::vendor::norda::hardware::charger::ICharger;
using aidl::vendor::norda::hardware::handlefactory::HandleResult;
using aidl::vendor::norda::hardware::handlefactory::IHandleFactory;
using android::IBinder;
using android::Parcel;
using android::sp;
using android::String16;
using vendor::norda::hardware::touch::INordaTouch;

using ChargerGetter = ndk::ScopedAStatus (ICharger::*)(int32_t*);

const std::vector<std::pair<std::string, ChargerGetter>>& chargerGetters() {
    static const std::vector<std::pair<std::string, ChargerGetter>> kGetters = {
#define ENTRY(method) {#method, &ICharger::method},
            ZSTATS_CHARGER_METHODS(ENTRY)
#undef ENTRY
    };
    return kGetters;
}

sp<IBinder> find(const char* name) {
    return android::defaultServiceManager()->checkService(String16(name));
}

template <typename Interface>
std::shared_ptr<Interface> findNdk(const std::string& name) {
    // Checked with the C++ library first: the NDK's look-up logs an error for an absent service.
    if (find(name.c_str()) == nullptr) return nullptr;
    return Interface::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(name.c_str())));
}

std::string reasonOf(const ndk::ScopedAStatus& status) {
    const int32_t exception = status.getExceptionCode();
    if (exception == EX_TRANSACTION_FAILED) {
        return "the call failed with status " + std::to_string(status.getStatus());
    }
    return "the service answers with exception " + std::to_string(exception);
}

Reading noService() {
    return {false, "the service is not there"};
}

}  // namespace

std::string handleFactoryService() {
    return std::string(IHandleFactory::descriptor) + "/default";
}

std::string chargerService() {
    return std::string(ICharger::descriptor) + "/default";
}

bool serviceIsThere(const std::string& name) {
    return find(name.c_str()) != nullptr;
}

Reading readHandleKey(const std::string& key) {
    const auto service = findNdk<IHandleFactory>(handleFactoryService());
    if (service == nullptr) return noService();
    HandleResult result;
    const ndk::ScopedAStatus status = service->readHandle(key, 0, &result);
    if (!status.isOk()) return {false, reasonOf(status)};
    return {true, std::move(result.content)};
}

const std::vector<std::string>& chargerMethods() {
    static const std::vector<std::string> kNames = [] {
        std::vector<std::string> names;
        for (const auto& [name, getter] : chargerGetters()) names.push_back(name);
        return names;
    }();
    return kNames;
}

Reading readChargerMethod(const std::string& method) {
    const auto service = findNdk<ICharger>(chargerService());
    if (service == nullptr) return noService();
    for (const auto& [name, getter] : chargerGetters()) {
        if (name != method) continue;
        int32_t value = 0;
        const ndk::ScopedAStatus status = ((*service).*getter)(&value);
        if (!status.isOk()) return {false, reasonOf(status)};
        return {true, std::to_string(value)};
    }
    return {false, "the charger has no such method"};
}

Reading readTouch() {
    const sp<INordaTouch> touch = INordaTouch::asInterface(find(kTouchService));
    if (touch == nullptr) return noService();
    String16 text;
    const android::binder::Status status = touch->touchReadNodeFile(0, 26, &text);
    if (!status.isOk()) return {false, status.toString8().c_str()};
    return {true, std::string(android::String8(text).c_str())};
}

std::optional<CaldaReply> callCalda(CaldaCode code) {
    const sp<IBinder> calda = find(kCaldaService);
    if (calda == nullptr) return std::nullopt;
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(String16("com.norda.calda.ICaldaService"));
    CaldaReply result;
    result.transport = calda->transact(code, data, &reply);
    if (result.transport != android::OK) return result;
    while (reply.dataAvail() >= sizeof(int32_t)) result.words.push_back(reply.readInt32());
    return result;
}

std::optional<std::vector<float>> readCpuTemperatures() {
    const auto thermal = android::os::IThermalService::asInterface(find(kThermalService));
    if (thermal == nullptr) return std::nullopt;
    std::vector<android::os::Temperature> list;
    if (!thermal->getCurrentTemperaturesWithType(0, &list).isOk()) return std::nullopt;
    std::vector<float> values;
    for (const auto& temperature : list) values.push_back(temperature.mValue);
    return values;
}

std::optional<AudioReply> callAudio() {
    const sp<IBinder> audio = find(kAudioService);
    if (audio == nullptr) return std::nullopt;
    Parcel data;
    Parcel reply;
    data.writeCString("PAPowerMonitorResult");
    AudioReply result;
    result.transport = audio->transact(129, data, &reply);
    const char* text = result.transport == android::OK ? reply.readCString() : nullptr;
    if (text != nullptr) result.text = text;
    return result;
}

std::optional<std::vector<std::optional<std::string>>> readUsageRecords() {
    std::vector<UahRecord> records;
    if (Uah_fetch_dataset(&records) < 0) return std::nullopt;
    std::vector<std::optional<std::string>> texts;
    for (const UahRecord& record : records) {
        const auto* text = std::get_if<std::string>(&record.value);
        texts.push_back(text == nullptr ? std::nullopt : std::make_optional(*text));
    }
    return texts;
}

Reading readDeviceFile(const std::string& path) {
    Reading reading;
    reading.ok = android::base::ReadFileToString(path, &reading.text, true);
    if (!reading.ok) reading.text = strerror(errno);
    return reading;
}

int64_t uptimeMs() {
    // Read from the file: a profile may replace it by that of a device that has been up for longer.
    return static_cast<int64_t>(strtod(readDeviceFile("/proc/uptime").text.c_str(), nullptr) * 1000);
}

Reading readDeviceProperty(const std::string& name) {
    const prop_info* property = __system_property_find(name.c_str());
    if (property == nullptr) return {false, "not set"};
    Reading reading{true, ""};
    const auto take = [](void* cookie, const char*, const char* value, uint32_t) {
        static_cast<Reading*>(cookie)->text = value;
    };
    __system_property_read_callback(property, take, &reading);
    return reading;
}

}  // namespace zstats::vdevice
