#pragma once

#include <mutex>
#include <utility>

namespace zstats {

/** A value for any thread: copied, replaced, or worked on under its lock. */
template <typename T>
class Guarded {
    /** Holds the lock for as long as it lives. */
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
