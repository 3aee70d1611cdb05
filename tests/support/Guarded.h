#pragma once

#include <mutex>
#include <utility>

namespace zstats {

/** A value with a lock: copied, replaced, or modified under it. Any thread. */
template <typename T>
class Guarded {
    /** Holds the lock until its destruction. */
    struct Access {
        T* operator->() { return &value; }
        T& operator*() { return value; }

        std::unique_lock<std::mutex> lock;
        T& value;
    };

  public:
    T get() const {
        const std::lock_guard lock(mLock);
        return mValue;
    }
    void set(T value) { *lock() = std::move(value); }
    Access lock() { return {std::unique_lock(mLock), mValue}; }

  private:
    mutable std::mutex mLock;
    T mValue{};
};

}  // namespace zstats
