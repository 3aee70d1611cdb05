#pragma once

#include <utils/StrongPointer.h>

#include <memory>
#include <utility>

#include "daemon/base/Mutex.h"

namespace zstats {

/**
 * A counted pointer that threads may load and store at the same time, like C++20's
 * std::atomic<std::shared_ptr<T>>. A loaded copy keeps its object alive when the stored pointer
 * changes. A call waits at most for another thread's copy of the pointer: nothing is called and no
 * object is destroyed under the lock.
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
        std::swap(mPointer, pointer);  // the former object is let go of after the lock
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
