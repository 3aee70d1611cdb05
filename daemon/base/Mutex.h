#pragma once

#include <utils/Mutex.h>  // the platform's annotation macros: GUARDED_BY, REQUIRES and the rest

#include <mutex>

namespace zstats {

/**
 * Locks that clang's thread-safety analysis follows with every C++ library. Android's libc++
 * annotates std::mutex and std::lock_guard, but no recursive mutex; Debian's libstdc++ annotates
 * nothing, so that with the standard types -Wthread-safety passes whatever the code does.
 *
 *     int mValue GUARDED_BY(mLock) = 0;
 *     Mutex mLock;
 *     ...
 *     const ScopedLock lock(mLock);
 *
 * To wait, use std::condition_variable_any with a ScopedLock that is not const, in a loop around
 * wait(lock) rather than with a predicate: the analysis does not see that a lambda runs locked.
 * The header stands alone, so that host/ and vdevice/ can use it without the daemon.
 */
template <typename T>
class CAPABILITY("mutex") AnnotatedMutex {
  public:
    AnnotatedMutex() = default;
    AnnotatedMutex(const AnnotatedMutex&) = delete;
    AnnotatedMutex& operator=(const AnnotatedMutex&) = delete;

    // The bodies are left out of the analysis: the held mutex may be annotated itself.
    void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS { mMutex.lock(); }
    void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { mMutex.unlock(); }
    bool try_lock() TRY_ACQUIRE(true) NO_THREAD_SAFETY_ANALYSIS { return mMutex.try_lock(); }

  private:
    T mMutex;
};

using Mutex = AnnotatedMutex<std::mutex>;
using RecursiveMutex = AnnotatedMutex<std::recursive_mutex>;

/** Holds a mutex from its construction to its destruction; may be unlocked and locked between. */
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
