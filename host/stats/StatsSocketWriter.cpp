#include "host/stats/StatsSocketWriter.h"

#include <errno.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <cstring>

namespace zstats {
namespace {

constexpr uint8_t kLogIdStats = 5;
constexpr uint32_t kStatsEventTag = 1937006964;
constexpr uint8_t kLogTypeLong = 1;
/** Larger than the default, which loses atoms of a burst. */
constexpr int kSendBufferBytes = 2 * 1024 * 1024;

struct __attribute__((packed)) LogHeader {
    uint8_t logId;
    uint16_t tid;
    uint32_t seconds;
    uint32_t nanoseconds;
};
static_assert(sizeof(LogHeader) == 11, "the header is sent as it lies");

struct __attribute__((packed)) LossReport {
    int32_t lastError;
    uint8_t type;
    uint64_t atomAndCount;
};
static_assert(sizeof(LossReport) == 13, "the report is sent as it lies");

LogHeader makeHeader() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return {kLogIdStats, static_cast<uint16_t>(syscall(SYS_gettid)),
            static_cast<uint32_t>(now.tv_sec), static_cast<uint32_t>(now.tv_nsec)};
}

/** True for errors after the peer's death: connecting again may help. */
bool isStale(int error) {
    return error == -ENOTCONN || error == -ECONNREFUSED || error == -ENOENT || error == -ECONNRESET;
}

}  // namespace

StatsSocketWriter& StatsSocketWriter::instance() {
    // Never destroyed, because threads may push while the process exits.
    static auto* writer = new StatsSocketWriter("/dev/socket/statsdw");
    return *writer;
}

int StatsSocketWriter::write(const uint8_t* event, size_t size, uint32_t atomId) {
    const ScopedLock lock(mLock);
    int result = mSocket.ok() ? 0 : connectLocked();
    if (result == 0) result = sendEventLocked(event, size);
    if (isStale(result)) {
        result = connectLocked();
        if (result == 0) result = sendEventLocked(event, size);
    }
    if (result < 0) {
        ++mLost;
        mLastError = result;
        mLastLostAtom = atomId;
    }
    return result;
}

int StatsSocketWriter::connectLocked() {
    mSocket.reset();
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (mPath.size() >= sizeof(address.sun_path)) return -ENAMETOOLONG;
    memcpy(address.sun_path, mPath.c_str(), mPath.size() + 1);
    android::base::unique_fd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd.ok()) return -errno;
    setsockopt(fd.get(), SOL_SOCKET, SO_SNDBUF, &kSendBufferBytes, sizeof(kSendBufferBytes));
    if (connect(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        return errno == ENOENT || errno == ECONNREFUSED ? -ENODEV : -errno;
    }
    mSocket = std::move(fd);
    return 0;
}

int StatsSocketWriter::sendLocked(const void* head, size_t headSize, const void* tail,
                                  size_t tailSize) {
    LogHeader header = makeHeader();
    iovec parts[] = {{&header, sizeof(header)},
                     {const_cast<void*>(head), headSize},
                     {const_cast<void*>(tail), tailSize}};
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = 3;
    ssize_t sent = TEMP_FAILURE_RETRY(sendmsg(mSocket.get(), &message, MSG_NOSIGNAL));
    return sent < 0 ? -errno : static_cast<int>(sent - static_cast<ssize_t>(sizeof(header)));
}

int StatsSocketWriter::sendEventLocked(const uint8_t* event, size_t size) {
    if (mLost != 0) reportLossLocked();
    return sendLocked(&kStatsEventTag, sizeof(kStatsEventTag), event, size);
}

void StatsSocketWriter::reportLossLocked() {
    LossReport report = {mLastError, kLogTypeLong, uint64_t{mLastLostAtom} << 32 | mLost};
    if (sendLocked(&report, sizeof(report), nullptr, 0) > 0) mLost = 0;
}

}  // namespace zstats
