#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <string>

namespace zstats::substitute {

/** What precedes the record's bytes in a packet to a connection. */
struct InjectionHead {
    int32_t isDisconnect;
    int32_t dispatchFlag;
    int32_t dataType;
    int32_t hasRecord;
};

/** The answer to a packet whose callback has returned: this one byte. */
inline constexpr char kDelivered = 'd';

/** A socket address with the length that the kernel wants beside it. */
struct BpfSocketAddress {
    sockaddr_un address;
    socklen_t length;

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address); }
};

/** Where the connection for the BPF program at `path` listens: an abstract name per profile. */
BpfSocketAddress bpfSocketAddress(const std::string& path);

}  // namespace zstats::substitute
