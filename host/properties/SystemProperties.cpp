#include <android/log.h>
#include <sys/_system_properties.h>
#include <sys/system_properties.h>

#include <cstring>
#include <vector>

#include "host/properties/PropertyStore.h"

namespace zstats::properties {
namespace {

/** The process's properties: init's area if there is one, else a local area. */
class Store {
  public:
    /** Never destroyed, because properties are read until the process ends. */
    static Store& instance() {
        static auto* store = new Store;
        return *store;
    }

    const PropertyArea* area() const { return mArea.load(std::memory_order_acquire); }

    int set(const std::string& name, const std::string& value) {
        if (mShared) return requestProperty(kServicePath, name, value);
        if (name.compare(0, 4, "ctl.") == 0) return control(name, value);
        const ScopedLock lock(mLock);
        return mOwnAreas.back()->set(name, value);
    }

    void setHandler(ControlHandler handler) {
        const ScopedLock lock(mLock);
        mHandler = std::move(handler);
    }

    /** Creates the shared area. Only in init, before it starts a second thread. */
    bool share() { return adopt(PropertyArea::create(kAreaPath)); }

    /** Fails except in init, because other processes map the area read-only. */
    int change(const std::string& name, const std::string& value) {
        return mArea.load(std::memory_order_acquire)->set(name, value);
    }

    void clear() {
        if (mShared) return;
        const ScopedLock lock(mLock);
        startOwnArea();
    }

  private:
    Store() {
        if (adopt(PropertyArea::map(kAreaPath))) return;
        const ScopedLock lock(mLock);
        startOwnArea();
    }

    /** Uses the shared area from now on; false if there is none. */
    bool adopt(std::unique_ptr<PropertyArea> shared) {
        mShared = shared != nullptr;
        if (mShared) mArea.store(shared.release(), std::memory_order_release);
        return mShared;
    }

    void startOwnArea() REQUIRES(mLock) {
        std::unique_ptr<PropertyArea> area = PropertyArea::createInMemory();
        if (area == nullptr) {
            __android_log_assert(nullptr, "properties", "no memory for system properties");
        }
        mArea.store(area.get(), std::memory_order_release);
        mOwnAreas.push_back(std::move(area));
    }

    int control(const std::string& name, const std::string& value) {
        ControlHandler handler;
        {
            const ScopedLock lock(mLock);
            handler = mHandler;
        }
        if (!handler) return -ENOSYS;
        handler(name, value);
        return 0;
    }

    bool mShared;
    std::atomic<PropertyArea*> mArea{nullptr};
    Mutex mLock;
    // Old areas are kept, because readers may hold their entries.
    std::vector<std::unique_ptr<PropertyArea>> mOwnAreas GUARDED_BY(mLock);
    ControlHandler mHandler GUARDED_BY(mLock);
};

}  // namespace

void setControlHandler(ControlHandler handler) {
    Store::instance().setHandler(std::move(handler));
}

void clearProperties() {
    Store::instance().clear();
}

}  // namespace zstats::properties

using zstats::properties::PropertyArea;
using zstats::properties::Store;

const prop_info* __system_property_find(const char* name) {
    return Store::instance().area()->find(name);
}

void __system_property_read_callback(const prop_info* pi,
                                     void (*callback)(void* cookie, const char* name,
                                                      const char* value, uint32_t serial),
                                     void* cookie) {
    char value[PROP_VALUE_MAX];
    const uint32_t serial = PropertyArea::read(*pi, value);
    callback(cookie, pi->name, value, serial);
}

int __system_property_get(const char* name, char* value) {
    value[0] = '\0';
    const prop_info* entry = __system_property_find(name);
    if (entry == nullptr) return 0;
    PropertyArea::read(*entry, value);
    return static_cast<int>(strlen(value));
}

int __system_property_set(const char* name, const char* value) {
    if (name == nullptr) return -1;
    if (value == nullptr) value = "";
    const int result = Store::instance().set(name, value);
    if (result == 0) return 0;
    __android_log_print(ANDROID_LOG_ERROR, "properties", "cannot set \"%s\" to \"%s\": %s", name,
                        value, result < 0 ? strerror(-result) : "refused by init");
    return -1;
}

int __system_property_foreach(void (*callback)(const prop_info* pi, void* cookie), void* cookie) {
    Store::instance().area()->forEach([&](const prop_info& entry) { callback(&entry, cookie); });
    return 0;
}

bool __system_property_wait(const prop_info* pi, uint32_t old_serial, uint32_t* new_serial_ptr,
                            const timespec* relative_timeout) {
    return Store::instance().area()->wait(pi, old_serial, new_serial_ptr, relative_timeout);
}

uint32_t __system_property_serial(const prop_info* pi) {
    char value[PROP_VALUE_MAX];
    return PropertyArea::read(*pi, value);
}

uint32_t __system_property_area_serial() {
    return Store::instance().area()->serial();
}

int __system_property_area_init() {
    return Store::instance().share() ? 0 : -1;
}

int __system_property_add(const char* name, unsigned int namelen, const char* value,
                          unsigned int valuelen) {
    return Store::instance().change({name, namelen}, {value, valuelen}) == 0 ? 0 : -1;
}

int __system_property_update(prop_info* pi, const char* value, unsigned int len) {
    return Store::instance().change(pi->name, {value, len}) == 0 ? 0 : -1;
}
