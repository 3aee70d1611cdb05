#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/futex.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>

#include "host/properties/PropertyStore.h"

namespace zstats::properties {
namespace {

constexpr uint32_t kMagic = 0x50524f50;
constexpr uint32_t kVersion = 2;

}  // namespace

struct PropertyArea::Layout {
    uint32_t magic;
    uint32_t version;
    std::atomic<uint32_t> serial;  // incremented with each change
    std::atomic<uint32_t> count;
    prop_info entries[kCapacity];
};

static_assert(std::atomic<uint32_t>::is_always_lock_free, "locks do not work across processes");
static_assert(PROP_VALUE_MAX % sizeof(uint32_t) == 0, "a value is stored in whole words");

namespace {

/** Release order for the words: a reader that sees a new word also sees the odd serial. */
void storeValue(prop_info& entry, const std::string& value) {
    uint32_t words[prop_info::kValueWords] = {};
    memcpy(words, value.data(), value.size());
    const uint32_t serial = entry.serial.load(std::memory_order_relaxed);
    entry.serial.store(serial + 1, std::memory_order_relaxed);
    for (size_t i = 0; i < prop_info::kValueWords; ++i) {
        entry.value[i].store(words[i], std::memory_order_release);
    }
    entry.serial.store(serial + 2, std::memory_order_release);
}

/** Not FUTEX_PRIVATE: waiters are in other processes. */
long futex(const std::atomic<uint32_t>& word, int operation, uint32_t value,
           const timespec* timeout) {
    return syscall(SYS_futex, &word, operation, value, timeout, nullptr, 0);
}

void wakeAll(const std::atomic<uint32_t>& word) {
    futex(word, FUTEX_WAKE, INT_MAX, nullptr);
}

void* mapMemory(size_t size, int protection, int flags, int fd) {
    void* memory = mmap(nullptr, size, protection, flags, fd, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}

}  // namespace

std::unique_ptr<PropertyArea> PropertyArea::createInMemory() {
    auto* layout = static_cast<Layout*>(
            mapMemory(sizeof(Layout), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1));
    if (layout == nullptr) return nullptr;
    return std::unique_ptr<PropertyArea>(new PropertyArea(layout, true));
}

std::unique_ptr<PropertyArea> PropertyArea::create(const std::string& path) {
    // Renamed into place, so that other processes only find a complete file.
    const std::string draft = path + ".new";
    android::base::unique_fd fd(
            open(draft.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0444));
    if (!fd.ok() || ftruncate(fd.get(), sizeof(Layout)) != 0) return nullptr;
    auto* layout = static_cast<Layout*>(
            mapMemory(sizeof(Layout), PROT_READ | PROT_WRITE, MAP_SHARED, fd.get()));
    if (layout == nullptr) return nullptr;
    layout->magic = kMagic;
    layout->version = kVersion;
    std::unique_ptr<PropertyArea> area(new PropertyArea(layout, true));
    if (rename(draft.c_str(), path.c_str()) != 0) return nullptr;
    return area;
}

std::unique_ptr<PropertyArea> PropertyArea::map(const std::string& path) {
    android::base::unique_fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info = {};
    if (!fd.ok() || fstat(fd.get(), &info) != 0) return nullptr;
    errno = EINVAL;
    if (info.st_size != static_cast<off_t>(sizeof(Layout))) return nullptr;
    auto* layout = static_cast<Layout*>(mapMemory(sizeof(Layout), PROT_READ, MAP_SHARED, fd.get()));
    if (layout == nullptr) return nullptr;
    std::unique_ptr<PropertyArea> area(new PropertyArea(layout, false));
    errno = EINVAL;
    if (layout->magic != kMagic || layout->version != kVersion) return nullptr;
    return area;
}

PropertyArea::~PropertyArea() {
    munmap(mLayout, sizeof(Layout));
}

const prop_info* PropertyArea::find(const char* name) const {
    if (name == nullptr) return nullptr;
    const uint32_t count = mLayout->count.load(std::memory_order_acquire);
    for (uint32_t i = 0; i < count && i < kCapacity; ++i) {
        if (strcmp(mLayout->entries[i].name, name) == 0) return &mLayout->entries[i];
    }
    return nullptr;
}

int PropertyArea::set(const std::string& name, const std::string& value) {
    if (!mWritable) return -EROFS;
    if (name.empty() || name.size() >= sizeof(prop_info::name)) return -EINVAL;
    if (value.size() >= PROP_VALUE_MAX) return -EINVAL;
    const ScopedLock lock(mWriteLock);
    if (const prop_info* entry = find(name.c_str())) {
        storeValue(*const_cast<prop_info*>(entry), value);
        announce(entry);
        return 0;
    }
    const uint32_t count = mLayout->count.load(std::memory_order_relaxed);
    if (count == kCapacity) return -ENOSPC;
    prop_info& entry = mLayout->entries[count];
    memcpy(entry.name, name.c_str(), name.size() + 1);
    storeValue(entry, value);
    // Last, because it makes the entry visible to readers.
    mLayout->count.store(count + 1, std::memory_order_release);
    announce(&entry);
    return 0;
}

void PropertyArea::announce(const prop_info* changed) {
    mLayout->serial.fetch_add(1, std::memory_order_release);
    wakeAll(changed->serial);
    wakeAll(mLayout->serial);
}

void PropertyArea::forEach(const std::function<void(const prop_info& entry)>& visit) const {
    const uint32_t count = mLayout->count.load(std::memory_order_acquire);
    for (uint32_t i = 0; i < count && i < kCapacity; ++i) visit(mLayout->entries[i]);
}

uint32_t PropertyArea::serial() const {
    return mLayout->serial.load(std::memory_order_acquire);
}

bool PropertyArea::wait(const prop_info* entry, uint32_t old, uint32_t* serial,
                        const timespec* timeout) const {
    const std::atomic<uint32_t>& word = entry != nullptr ? entry->serial : mLayout->serial;
    while ((*serial = word.load(std::memory_order_acquire)) == old) {
        if (futex(word, FUTEX_WAIT, old, timeout) != 0 && errno == ETIMEDOUT) return false;
    }
    return true;
}

uint32_t PropertyArea::read(const prop_info& entry, char* value) {
    while (true) {
        uint32_t words[prop_info::kValueWords];
        const uint32_t serial = entry.serial.load(std::memory_order_acquire);
        for (size_t i = 0; i < prop_info::kValueWords; ++i) {
            words[i] = entry.value[i].load(std::memory_order_acquire);
        }
        if (serial % 2 == 0 && entry.serial.load(std::memory_order_relaxed) == serial) {
            memcpy(value, words, sizeof(words));
            value[PROP_VALUE_MAX - 1] = '\0';
            return serial;
        }
        sched_yield();  // the writer is in the middle of a change
    }
}

}  // namespace zstats::properties
