#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <string>

namespace zstats::substitute {

/** The head of a packet to a connection; the record's bytes follow. */
struct InjectionHead {
    int32_t isDisconnect;
    int32_t dispatchFlag;
    int32_t dataType;
    int32_t hasRecord;
};

/** The answer to a packet after its callback has returned. */
inline constexpr char kDelivered = 'd';

/** A socket address and its length. */
struct BpfSocketAddress {
    sockaddr_un address;
    socklen_t length;

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address); }
};

/** The address of the connection for the BPF program at `path`: an abstract name for each profile. */
BpfSocketAddress bpfSocketAddress(const std::string& path);

}  // namespace zstats::substitute
