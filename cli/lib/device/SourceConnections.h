#pragma once

#include <aidl/vendor/norda/hardware/charger/ICharger.h>
#include <aidl/vendor/norda/hardware/handlefactory/IHandleFactory.h>
#include <binder/IBinder.h>
#include <binder/Parcel.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zstats::cli {

/**
 * The services that the daemon reads, and its calls. Services are looked up without waiting; an
 * absent one is null. Any thread.
 */

using ICharger = aidl::vendor::norda::hardware::charger::ICharger;
using IHandleFactory = aidl::vendor::norda::hardware::handlefactory::IHandleFactory;
using ChargerGetter = ndk::ScopedAStatus (ICharger::*)(int32_t*);

/** Instance names of the two NDK services. */
std::string handleFactoryService();
std::string chargerService();

android::sp<android::IBinder> findService(const char* name);
std::shared_ptr<ICharger> findCharger();
std::shared_ptr<IHandleFactory> findHandleFactory();

/** The charger's methods that return a number, by name, in declaration order. */
const std::vector<std::pair<std::string, ChargerGetter>>& chargerGetters();

/** The getter of this name; null when the interface has none. */
ChargerGetter chargerGetter(const std::string& method);

/** Calls the maker's thermal service; returns the transport status. */
android::status_t transactCalda(android::IBinder& calda, uint32_t code, android::Parcel* reply);

/** Makes the audio service's monitor request; returns the transport status. */
android::status_t transactAudio(android::IBinder& audio, android::Parcel* reply);

}  // namespace zstats::cli
