#pragma once

#include <aidl/vendor/norda/hardware/handlefactory/IHandleFactory.h>

#include <memory>
#include <string>

#include "daemon/base/AtomicPointer.h"
#include "daemon/base/Mutex.h"

namespace zstats {

/**
 * The process's client of the handle-factory service, which maps a key to the text of a kernel
 * node. Connects on first use and again after the service died; never waits for it. Any thread.
 */
class HalHandleFactoryProxyAidl {
  public:
    using IHandleFactory = aidl::vendor::norda::hardware::handlefactory::IHandleFactory;

    static HalHandleFactoryProxyAidl& getInstance();

    /** The cached proxy; connects first if there is none. Empty when the service is absent. */
    std::shared_ptr<IHandleFactory> getService();
    /** True when getService() returns a proxy. Each call tries to connect if necessary. */
    bool exist();
    /**
     * Reads the node of `key`. Assigns its text to `out` and returns the service's result code; on
     * any failure leaves `out` unchanged and returns -1.
     */
    int read(const std::string& key, std::string& out);

  private:
    HalHandleFactoryProxyAidl() = default;
    HalHandleFactoryProxyAidl(const HalHandleFactoryProxyAidl&) = delete;
    HalHandleFactoryProxyAidl& operator=(const HalHandleFactoryProxyAidl&) = delete;

    static void onServiceDied(void* cookie);

    /** Looks the service up, caches and links it; empty when it is absent or of another interface. */
    std::shared_ptr<IHandleFactory> connect() REQUIRES(mLock);

    /** Serialises connection attempts. Guards no member: the death notice does not take it. */
    RecursiveMutex mLock;
    AtomicShared<IHandleFactory> mService;
};

/**
 * Assigns the text of the node of `key` to `out`; leaves it unchanged, with an error line, when the
 * text is empty or cannot be read. For readers/; handlers use the functions of nodes. Any thread.
 */
void getContentByHandleKey(const std::string& key, std::string& out);

}  // namespace zstats
