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
    int32_t uid = 0;  // from the socket's credentials
    std::string bytes;
};

/**
 * Pushed atoms that arrive through the datagram socket. One thread moves them into a queue, another
 * calls the listener, so that writers are served while the listener blocks. `recent` from any thread.
 */
class PushedAtoms {
  public:
    using Listener = std::function<void(const PushedEvent&)>;

    /** Calls the listener once for each event, on a thread of its own. */
    explicit PushedAtoms(Listener listener) : mListener(std::move(listener)) {}

    /** Starts both threads, which last as long as the process. */
    void start(int socket);

    /** The last events that the listener got, oldest first. */
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
