#pragma once

#include <sys/system_properties.h>
#include <time.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "daemon/base/Mutex.h"

/** One property in a PropertyArea. */
struct prop_info {
    static constexpr size_t kValueWords = PROP_VALUE_MAX / sizeof(uint32_t);

    /** Odd while the value is being written. */
    std::atomic<uint32_t> serial;
    std::atomic<uint32_t> value[kValueWords];
    /** Fixed before the entry becomes visible. */
    char name[128];
};

namespace zstats::properties {

/** Init's property area in the virtual device, and its socket for requests. */
inline constexpr char kAreaPath[] = "/dev/__properties__/area";
inline constexpr char kServicePath[] = "/dev/socket/property_service";

/**
 * Properties in memory with a fixed layout, which several processes can share. One process writes;
 * others read concurrently without a lock, also while a value changes. Properties are never removed.
 */
class PropertyArea {
  public:
    static constexpr size_t kCapacity = 1024;

    /** A new, empty area in the file `path`, replaced if it exists; null with errno on failure. */
    static std::unique_ptr<PropertyArea> create(const std::string& path);
    /** A new area that only this process uses; null with errno when memory is short. */
    static std::unique_ptr<PropertyArea> createInMemory();
    /** The area in the file `path`, read-only; null with errno, EINVAL if it is not an area. */
    static std::unique_ptr<PropertyArea> map(const std::string& path);

    ~PropertyArea();
    PropertyArea(const PropertyArea&) = delete;
    PropertyArea& operator=(const PropertyArea&) = delete;

    /** The entry of a property, null if it does not exist. Valid as long as the area. */
    const prop_info* find(const char* name) const;

    /**
     * Adds or changes a property. Returns 0, -EINVAL for a name or value that does not fit,
     * -ENOSPC when the area is full, -EROFS on an area that was mapped. Any thread.
     */
    int set(const std::string& name, const std::string& value);

    /** Calls `visit` for each property, in the order in which they were added. */
    void forEach(const std::function<void(const prop_info& entry)>& visit) const;

    /** Changes with every change of a property. */
    uint32_t serial() const;
    /**
     * Waits until the serial of the entry, or of the area if `entry` is null, differs from `old`,
     * and stores it. False after `timeout`; null means no time limit.
     */
    bool wait(const prop_info* entry, uint32_t old, uint32_t* serial, const timespec* timeout) const;

    /** Copies a consistent value with its NUL to `value`, PROP_VALUE_MAX bytes; returns its serial. */
    static uint32_t read(const prop_info& entry, char* value);

  private:
    struct Layout;

    PropertyArea(Layout* layout, bool writable) : mLayout(layout), mWritable(writable) {}

    /** Wakes waiters for a change of the area or of this entry. */
    void announce(const prop_info* changed);

    Layout* const mLayout;
    const bool mWritable;
    Mutex mWriteLock;  // one writer at a time
};

/**
 * Asks init, by the socket at `path`, to write a property, and waits for the answer. Returns the
 * answer, or a negative errno without one.
 */
int requestProperty(const std::string& path, const std::string& name, const std::string& value);

using ControlHandler = std::function<void(const std::string& name, const std::string& value)>;

/**
 * Sets the handler of "ctl." writes in a process without init, called on the writing thread.
 * Without a handler (null), such writes fail. Any thread.
 */
void setControlHandler(ControlHandler handler);

/**
 * Empties the store of a process without init. Entries that were found before stay readable. Does
 * nothing in the virtual device.
 */
void clearProperties();

}  // namespace zstats::properties
