#pragma once

#include <aidl/vendor/norda/hardware/charger/ICharger.h>
#include <android/binder_ibinder.h>

#include <memory>

namespace zstats {

using ICharger = aidl::vendor::norda::hardware::charger::ICharger;

/**
 * The charger's proxy: the one in `cached`, or a new one, which is stored there; empty, with an
 * error line, when the service is absent. A new connection calls `onDied` with `cookie`, on a
 * binder thread, when the service dies. The caller holds the lock that guards `cached`.
 */
std::shared_ptr<ICharger> getCharger(std::shared_ptr<ICharger>& cached,
                                     AIBinder_DeathRecipient_onBinderDied onDied, void* cookie);

}  // namespace zstats
