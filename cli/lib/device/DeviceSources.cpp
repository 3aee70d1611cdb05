#include "cli/lib/device/DeviceSources.h"

#include <android-base/file.h>
#include <android/os/IThermalService.h>
#include <sys/system_properties.h>
#include <vendor/norda/hardware/touch/INordaTouch.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "cli/lib/device/SourceConnections.h"
#include "sources/ServiceWire.h"
#include "vendor/include/uah_client.h"

namespace zstats::cli {
namespace {

using aidl::vendor::norda::hardware::handlefactory::HandleResult;
using android::IBinder;
using android::Parcel;
using android::sp;
using android::String16;
using vendor::norda::hardware::touch::INordaTouch;

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

bool serviceIsThere(const std::string& name) {
    return findService(name.c_str()) != nullptr;
}

Reading readHandleKey(const std::string& key) {
    const auto service = findHandleFactory();
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
    const auto service = findCharger();
    if (service == nullptr) return noService();
    const ChargerGetter getter = chargerGetter(method);
    if (getter == nullptr) return {false, "the charger has no such method"};
    int32_t value = 0;
    const ndk::ScopedAStatus status = ((*service).*getter)(&value);
    if (!status.isOk()) return {false, reasonOf(status)};
    return {true, std::to_string(value)};
}

Reading readTouch() {
    const sp<INordaTouch> touch = INordaTouch::asInterface(findService(kTouchService));
    if (touch == nullptr) return noService();
    String16 text;
    const android::binder::Status status =
            touch->touchReadNodeFile(kTouchDevice, kRefreshRateNode, &text);
    if (!status.isOk()) return {false, status.toString8().c_str()};
    return {true, std::string(android::String8(text).c_str())};
}

std::optional<CaldaReply> callCalda(uint32_t code) {
    const sp<IBinder> calda = findService(kCaldaService);
    if (calda == nullptr) return std::nullopt;
    Parcel reply;
    CaldaReply result;
    result.transport = transactCalda(*calda, code, &reply);
    if (result.transport != android::OK) return result;
    while (reply.dataAvail() >= sizeof(int32_t)) result.words.push_back(reply.readInt32());
    return result;
}

std::optional<std::vector<float>> readCpuTemperatures() {
    const auto thermal = android::os::IThermalService::asInterface(findService(kThermalService));
    if (thermal == nullptr) return std::nullopt;
    std::vector<android::os::Temperature> list;
    if (!thermal->getCurrentTemperaturesWithType(kCpuTemperatureType, &list).isOk())
        return std::nullopt;
    std::vector<float> values;
    for (const auto& temperature : list) values.push_back(temperature.mValue);
    return values;
}

// Deprecated in current platforms, but the audio service reads and writes C strings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
std::optional<AudioReply> callAudio() {
    const sp<IBinder> audio = findService(kAudioService);
    if (audio == nullptr) return std::nullopt;
    Parcel reply;
    AudioReply result;
    result.transport = transactAudio(*audio, &reply);
    const char* text = result.transport == android::OK ? reply.readCString() : nullptr;
    if (text != nullptr) result.text = text;
    return result;
}
#pragma GCC diagnostic pop

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
    // Not from the clock: a profile may replace the file to simulate a longer time since boot.
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

}  // namespace zstats::cli
