#include "daemon/ZStatsPullAtomCallback.h"

#include "daemon/base/Log.h"

namespace zstats {

std::shared_ptr<ICharger> ZStatsPullAtomCallback::getIChargeService() {
    const ScopedLock lock(mChargerLock);
    return getCharger(mChargerService, onChargerDied, this);
}

void ZStatsPullAtomCallback::onChargerDied(void* cookie) {
    ZLOG(ERROR, "charger service died, will try to reconnect.");
    auto* self = static_cast<ZStatsPullAtomCallback*>(cookie);
    // Handlers that are in a call hold a copy of the proxy. The next pull connects again.
    const ScopedLock lock(self->mChargerLock);
    self->mChargerService.reset();
}

std::string ZStatsPullAtomCallback::getContentByHandleKey(const std::string& key) {
    return nodes::readText(key);
}

int32_t ZStatsPullAtomCallback::getValueByHandleKey(const std::string& key) {
    return nodes::readNumber(key);
}

KeyValueMap ZStatsPullAtomCallback::parseKeyValueFromContent(const std::string& content) {
    return nodes::parseKeyValueFromContent(content);
}

int32_t ZStatsPullAtomCallback::getValueByKey(KeyValueMap& map, const std::string& key) {
    return nodes::getValueByKey(map, key);
}

}  // namespace zstats
