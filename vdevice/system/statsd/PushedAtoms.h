#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "daemon/base/Mutex.h"

namespace zstats::vdevice {

/** An event that a process pushed. */
struct PushedEvent {
    int32_t uid = 0;  // by the socket's credentials
    std::string bytes;
};

/**
 * Pushed atoms as they come in through the datagram socket. One thread moves them into a queue, and
 * another hands them on: writers are served while a listener stalls. `recent` from any thread.
 */
class PushedAtoms {
  public:
    using Listener = std::function<void(const PushedEvent&)>;

    /** Listener runs on the thread that hands on, once for each event. */
    explicit PushedAtoms(Listener listener) : mListener(std::move(listener)) {}

    /** Starts to read from the socket, on threads that stay for the life of the process. */
    void start(int socket);

    /** The last events that were handed on, oldest first. */
    std::vector<PushedEvent> recent() const;

  private:
    void read(int socket);
    void take(int32_t uid, const char* packet, size_t size);
    void enqueue(PushedEvent event);
    void handOn();
    PushedEvent next();

    const Listener mListener;
    mutable Mutex mLock;
    std::condition_variable_any mArrived;
    std::deque<PushedEvent> mQueue GUARDED_BY(mLock);
    bool mFull GUARDED_BY(mLock) = false;  // the last event was dropped
    std::deque<PushedEvent> mRecent GUARDED_BY(mLock);
};

}  // namespace zstats::vdevice
