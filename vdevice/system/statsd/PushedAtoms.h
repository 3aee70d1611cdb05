#pragma once

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

/** Pushed atoms as they come in through the datagram socket. `recent` from any thread. */
class PushedAtoms {
  public:
    using Listener = std::function<void(const PushedEvent&)>;

    /** Listener runs on the reading thread, once for each event. */
    explicit PushedAtoms(Listener listener) : mListener(std::move(listener)) {}

    /** Starts to read from the socket, on a thread that stays for the life of the process. */
    void start(int socket);

    /** The last events, oldest first. */
    std::vector<PushedEvent> recent() const;

  private:
    void read(int socket);
    void take(int32_t uid, const char* packet, size_t size);

    const Listener mListener;
    mutable Mutex mLock;
    std::deque<PushedEvent> mRecent GUARDED_BY(mLock);
};

}  // namespace zstats::vdevice
