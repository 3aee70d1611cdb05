#include "sources/HalHandleFactoryProxyAidl.h"

#include <android/binder_auto_utils.h>

#include <utility>

#include "daemon/base/DeathLink.h"
#include "daemon/base/Log.h"
#include "sources/ServiceLookup.h"

namespace zstats {

using aidl::vendor::norda::hardware::handlefactory::HandleResult;

HalHandleFactoryProxyAidl& HalHandleFactoryProxyAidl::getInstance() {
    static HalHandleFactoryProxyAidl instance;
    return instance;
}

std::shared_ptr<HalHandleFactoryProxyAidl::IHandleFactory> HalHandleFactoryProxyAidl::getService() {
    const ScopedLock lock(mLock);
    if (auto cached = mService.load()) return cached;
    return connect();
}

std::shared_ptr<HalHandleFactoryProxyAidl::IHandleFactory> HalHandleFactoryProxyAidl::connect() {
    const ndk::SpAIBinder binder = lookUpDefaultInstance(IHandleFactory::descriptor);
    if (binder.get() == nullptr) {
        ZLOG(WARN, "get handlefactory aidl service failed");
        return nullptr;
    }
    ZLOG(INFO, "Get handlefactory service success. Its ref count is %d",
         AIBinder_debugGetRefCount(binder.get()));
    auto service = IHandleFactory::fromBinder(binder);
    if (service == nullptr) return nullptr;  // another interface: do not add a permanent link
    // Store before linking: a notice that arrives at once has to clear it.
    mService.store(service);
    linkToDeathForever(binder.get(), onServiceDied, this);
    return service;
}

void HalHandleFactoryProxyAidl::onServiceDied(void* /*cookie*/) {
    ZLOG(ERROR, "handlefactory service died, will try to reconnect.");
    // Without the lock: the notice must not wait for a connection attempt.
    getInstance().mService.store(nullptr);
}

bool HalHandleFactoryProxyAidl::exist() {
    return getService() != nullptr;
}

int HalHandleFactoryProxyAidl::read(const std::string& key, std::string& out) {
    if (!exist()) return -1;
    HandleResult result{};
    // Called without the lock: a slow node must not delay other readers. If the service has died
    // since exist(), the call counts as failed.
    const auto service = getService();
    if (service == nullptr || !service->readHandle(key, 0, &result).isOk()) {
        ZLOG(WARN, "handleFactory read failed.");
        return -1;
    }
    out = std::move(result.content);
    return result.code;
}

void getContentByHandleKey(const std::string& key, std::string& out) {
    auto& factory = HalHandleFactoryProxyAidl::getInstance();
    if (!factory.exist()) {
        ZLOG(ERROR, "%s read nodeKey: %s, Proxy Aidl not exist.", __func__, key.c_str());
        return;
    }
    std::string content;
    factory.read(key, content);
    if (content.empty()) {
        ZLOG(ERROR, "%s read nodeKey: %s, len=%lu", __func__, key.c_str(), 0UL);
        return;
    }
    ZLOG_AT(2, DEBUG, "%s read nodeKey: %s, result = %s", __func__, key.c_str(), content.c_str());
    out = std::move(content);
}

}  // namespace zstats
