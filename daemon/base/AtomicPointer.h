#pragma once

#include <utils/StrongPointer.h>

#include <memory>
#include <utility>

#include "daemon/base/Mutex.h"

namespace zstats {

/**
 * A counted pointer that threads may load and store concurrently, like C++20's
 * std::atomic<std::shared_ptr<T>>. A loaded copy keeps its object alive when the stored pointer
 * changes. The lock is held only while a pointer is copied: no object is destroyed under it.
 */
template <typename Pointer>
class AtomicPointer {
  public:
    AtomicPointer() = default;
    AtomicPointer(const AtomicPointer&) = delete;
    AtomicPointer& operator=(const AtomicPointer&) = delete;

    /** The stored pointer, null when there is none. */
    Pointer load() const {
        const ScopedLock lock(mLock);
        return mPointer;
    }

    void store(Pointer pointer) {
        const ScopedLock lock(mLock);
        std::swap(mPointer, pointer);  // the old object is released after the lock
    }

  private:
    mutable Mutex mLock;
    Pointer mPointer GUARDED_BY(mLock);
};

template <typename T>
using AtomicSp = AtomicPointer<android::sp<T>>;
template <typename T>
using AtomicShared = AtomicPointer<std::shared_ptr<T>>;

}  // namespace zstats
