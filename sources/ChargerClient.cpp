#include "sources/ChargerClient.h"

#include "daemon/base/DeathLink.h"
#include "daemon/base/Log.h"
#include "sources/ServiceLookup.h"

namespace zstats {

std::shared_ptr<ICharger> getCharger(std::shared_ptr<ICharger>& cached,
                                     AIBinder_DeathRecipient_onBinderDied onDied, void* cookie) {
    if (cached != nullptr) return cached;
    const ndk::SpAIBinder binder = lookUpDefaultInstance(ICharger::descriptor);
    cached = ICharger::fromBinder(binder);
    if (cached == nullptr) {
        ZLOG(ERROR, "pullerd:  Get charger service fromBinder fail");
        return nullptr;
    }
    linkToDeathForever(binder.get(), onDied, cookie);
    return cached;
}

}  // namespace zstats
