#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>

#include "daemon/Log.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "sources/DeathLink.h"

namespace zstats {

std::shared_ptr<ZStatsPullAtomCallback::ICharger> ZStatsPullAtomCallback::getIChargeService() {
    const ScopedLock lock(mChargerLock);
    if (mChargerService != nullptr) return mChargerService;

    const std::string instance = std::string(ICharger::descriptor) + "/default";
    // Does not wait: a pull must be answered while the charger is still starting.
    const ndk::SpAIBinder binder(AServiceManager_checkService(instance.c_str()));
    mChargerService = ICharger::fromBinder(binder);
    if (mChargerService == nullptr) {
        ZLOG(ERROR, "pullerd:  Get charger service fromBinder fail");
        return nullptr;
    }
    linkToDeathForever(binder.get(), onChargerDied, this);
    return mChargerService;
}

void ZStatsPullAtomCallback::onChargerDied(void* cookie) {
    ZLOG(ERROR, "charger service died, will try to reconnect.");
    auto* self = static_cast<ZStatsPullAtomCallback*>(cookie);
    // Handlers under way keep their own copy of the proxy; the next pull connects anew.
    const ScopedLock lock(self->mChargerLock);
    self->mChargerService.reset();
}

}  // namespace zstats
