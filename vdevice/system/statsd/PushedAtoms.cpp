#include "vdevice/system/statsd/PushedAtoms.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <cerrno>
#include <cstring>
#include <thread>
#include <utility>

#include "vdevice/system/statsd/StatsdLog.h"

namespace zstats::vdevice {
namespace {

// Packed: log id, thread id, seconds, nanoseconds. The tag follows.
constexpr size_t kHeaderSize = 1 + 2 + 4 + 4;
constexpr char kStatsLogId = 5;
constexpr uint32_t kEventTag = 1937006964;  // "stat"
// Larger than any event, so that no packet is truncated.
constexpr size_t kMaxPacket = 8192;
constexpr size_t kMaxQueued = 50'000;  // as statsd's queue
constexpr size_t kKeep = 100;
constexpr char kObject = 0x07;

/** From the credentials that the kernel adds, because a writer could forge any other uid. */
int32_t senderUid(msghdr* message) {
    for (cmsghdr* part = CMSG_FIRSTHDR(message); part != nullptr;
         part = CMSG_NXTHDR(message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_CREDENTIALS) continue;
        ucred credentials;
        memcpy(&credentials, CMSG_DATA(part), sizeof(credentials));
        return static_cast<int32_t>(credentials.uid);
    }
    return -1;
}

}  // namespace

void PushedAtoms::start(int socket) {
    std::thread([this] { handOn(); }).detach();
    std::thread([this, socket] { read(socket); }).detach();
}

void PushedAtoms::read(int socket) {
    char packet[kMaxPacket];
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))];
    while (true) {
        iovec buffer = {packet, sizeof(packet)};
        msghdr message = {};
        message.msg_iov = &buffer;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof(control);
        const ssize_t size = recvmsg(socket, &message, 0);
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) {
            STATSD_LOG(ERROR, "reading pushed atoms: %s", strerror(errno));
            return;
        }
        take(senderUid(&message), packet, static_cast<size_t>(size));
    }
}

void PushedAtoms::take(int32_t uid, const char* packet, size_t size) {
    uint32_t tag = 0;
    if (size <= kHeaderSize + sizeof(tag) || packet[0] != kStatsLogId) {
        STATSD_LOG(WARN, "pushed packet of %zu bytes from uid %d is none of ours", size, uid);
        return;
    }
    memcpy(&tag, packet + kHeaderSize, sizeof(tag));
    PushedEvent event{uid, std::string(packet + kHeaderSize + sizeof(tag), packet + size)};
    // A sender also reports how many events it lost, in a packet that is not an event.
    if (tag != kEventTag || event.bytes[0] != kObject) {
        STATSD_LOG(WARN, "pushed packet from uid %d holds no event", uid);
        return;
    }
    enqueue(std::move(event));
}

void PushedAtoms::enqueue(PushedEvent event) {
    {
        const ScopedLock lock(mLock);
        // One log line for each run of dropped events.
        const bool wasFull = std::exchange(mFull, mQueue.size() >= kMaxQueued);
        if (mFull) {
            if (!wasFull) STATSD_LOG(WARN, "pushed events are dropped: the queue is full");
            return;
        }
        mQueue.push_back(std::move(event));
    }
    mArrived.notify_one();
}

void PushedAtoms::handOn() {
    while (true) mListener(next());
}

/** Waits for an event and records it as a recent one. */
PushedEvent PushedAtoms::next() {
    ScopedLock lock(mLock);
    while (mQueue.empty()) mArrived.wait(lock);
    PushedEvent event = std::move(mQueue.front());
    mQueue.pop_front();
    mRecent.push_back(event);
    if (mRecent.size() > kKeep) mRecent.pop_front();
    return event;
}

std::vector<PushedEvent> PushedAtoms::recent() const {
    const ScopedLock lock(mLock);
    return {mRecent.begin(), mRecent.end()};
}

}  // namespace zstats::vdevice
