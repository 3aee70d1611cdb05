#pragma once

#include <android-base/unique_fd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "daemon/base/Mutex.h"

namespace zstats {

/**
 * Sender of pushed events over statsd's datagram socket. Any thread; never blocks on statsd.
 *
 * A datagram is the packed log header (11 bytes), a 4-byte tag and the event. Lost events are
 * counted and reported before the next event that can be sent.
 */
class StatsSocketWriter {
  public:
    explicit StatsSocketWriter(std::string socketPath) : mPath(std::move(socketPath)) {}
    StatsSocketWriter(const StatsSocketWriter&) = delete;
    StatsSocketWriter& operator=(const StatsSocketWriter&) = delete;

    /** The process's writer to "/dev/socket/statsdw". */
    static StatsSocketWriter& instance();

    /**
     * Sends one event. Returns `size` + 4, or a negative errno: -ENODEV without a socket, -EAGAIN
     * when the socket's buffer is full. Connects again if statsd was restarted.
     */
    int write(const uint8_t* event, size_t size, uint32_t atomId);

  private:
    int connectLocked() REQUIRES(mLock);
    int sendLocked(const void* head, size_t headSize, const void* tail, size_t tailSize)
            REQUIRES(mLock);
    int sendEventLocked(const uint8_t* event, size_t size) REQUIRES(mLock);
    void reportLossLocked() REQUIRES(mLock);

    const std::string mPath;
    Mutex mLock;
    android::base::unique_fd mSocket GUARDED_BY(mLock);
    uint32_t mLost GUARDED_BY(mLock) = 0;
    int32_t mLastError GUARDED_BY(mLock) = 0;
    uint32_t mLastLostAtom GUARDED_BY(mLock) = 0;
};

}  // namespace zstats
