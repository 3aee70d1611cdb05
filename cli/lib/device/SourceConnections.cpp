#include "cli/lib/device/SourceConnections.h"

#include <aidl/ChargerMethods.h>
#include <android/binder_manager.h>
#include <binder/IServiceManager.h>

#include "sources/ServiceWire.h"

namespace zstats::cli {
namespace {

using android::IBinder;
using android::Parcel;
using android::sp;
using android::String16;

template <typename Interface>
std::shared_ptr<Interface> findNdk(const std::string& name) {
    // With the C++ library first, because the NDK's look-up logs an error for an absent service.
    if (findService(name.c_str()) == nullptr) return nullptr;
    return Interface::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(name.c_str())));
}

}  // namespace

std::string handleFactoryService() {
    return std::string(IHandleFactory::descriptor) + "/default";
}

std::string chargerService() {
    return std::string(ICharger::descriptor) + "/default";
}

sp<IBinder> findService(const char* name) {
    return android::defaultServiceManager()->checkService(String16(name));
}

std::shared_ptr<ICharger> findCharger() {
    return findNdk<ICharger>(chargerService());
}

std::shared_ptr<IHandleFactory> findHandleFactory() {
    return findNdk<IHandleFactory>(handleFactoryService());
}

const std::vector<std::pair<std::string, ChargerGetter>>& chargerGetters() {
    static const std::vector<std::pair<std::string, ChargerGetter>> kGetters = {
#define ENTRY(method) {#method, &ICharger::method},
            ZSTATS_CHARGER_METHODS(ENTRY)
#undef ENTRY
    };
    return kGetters;
}

ChargerGetter chargerGetter(const std::string& method) {
    for (const auto& [name, getter] : chargerGetters()) {
        if (name == method) return getter;
    }
    return nullptr;
}

android::status_t transactCalda(IBinder& calda, uint32_t code, Parcel* reply) {
    static const String16 kDescriptor(kCaldaDescriptor);
    Parcel data;
    data.writeInterfaceToken(kDescriptor);
    return calda.transact(code, data, reply);
}

// Deprecated in current platforms, but the audio service reads and writes C strings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
android::status_t transactAudio(IBinder& audio, Parcel* reply) {
    Parcel data;
    data.writeCString(kAudioMonitorRequest);
    return audio.transact(kAudioMonitorCode, data, reply);
}
#pragma GCC diagnostic pop

}  // namespace zstats::cli
