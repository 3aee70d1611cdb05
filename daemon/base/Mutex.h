#pragma once

#include <utils/Mutex.h>  // the platform's annotation macros: GUARDED_BY, REQUIRES and the rest

#include <mutex>

namespace zstats {

/**
 * Locks that clang's thread-safety analysis checks with every C++ library. Android's libc++
 * annotates std::mutex and std::lock_guard, but no recursive mutex. Debian's libstdc++ annotates
 * nothing, so -Wthread-safety finds nothing with the standard types.
 *
 *     int mValue GUARDED_BY(mLock) = 0;
 *     Mutex mLock;
 *     ...
 *     const ScopedLock lock(mLock);
 *
 * To wait, use std::condition_variable_any with a ScopedLock that is not const, in a loop around
 * wait(lock). A predicate does not work: the analysis does not know that a lambda runs locked.
 * The header has no other dependency of the daemon, so host/ and vdevice/ can include it.
 */
template <typename T>
class CAPABILITY("mutex") AnnotatedMutex {
  public:
    AnnotatedMutex() = default;
    AnnotatedMutex(const AnnotatedMutex&) = delete;
    AnnotatedMutex& operator=(const AnnotatedMutex&) = delete;

    // The bodies are not analysed, because the standard mutex may be annotated as well.
    void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS { mMutex.lock(); }
    void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { mMutex.unlock(); }
    bool try_lock() TRY_ACQUIRE(true) NO_THREAD_SAFETY_ANALYSIS { return mMutex.try_lock(); }

  private:
    T mMutex;
};

using Mutex = AnnotatedMutex<std::mutex>;
using RecursiveMutex = AnnotatedMutex<std::recursive_mutex>;

/** Holds a mutex from construction to destruction; may be unlocked and locked in between. */
template <typename M>
class SCOPED_CAPABILITY ScopedLock {
  public:
    explicit ScopedLock(M& mutex) ACQUIRE(mutex) : mHeld(mutex) {}
    ~ScopedLock() RELEASE() {}
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS { mHeld.lock(); }
    void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { mHeld.unlock(); }

  private:
    std::unique_lock<M> mHeld;
};

}  // namespace zstats
