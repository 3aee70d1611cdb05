#include <android-base/unique_fd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "vendor/substitute/BpfSocket.h"
#include "vendor/substitute/Profile.h"
#include "vendor/substitute/Substitute.h"

namespace zstats::substitute {

namespace {

using android::base::unique_fd;

uint64_t fnv1a(const std::string& text) {
    uint64_t hash = 0xcbf29ce484222325;
    for (const unsigned char byte : text) hash = (hash ^ byte) * 0x100000001b3;
    return hash;
}

int deliver(const std::string& path, const std::string& packet) {
    const unique_fd channel(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    if (channel.get() < 0) return -errno;
    const BpfSocketAddress address = bpfSocketAddress(path);
    if (connect(channel.get(), address.get(), address.length) != 0) return -errno;
    if (send(channel.get(), packet.data(), packet.size(), MSG_NOSIGNAL) < 0) return -errno;
    char answer = 0;
    const ssize_t count = recv(channel.get(), &answer, sizeof(answer), 0);
    if (count < 0) return -errno;
    return count == sizeof(answer) && answer == kDelivered ? 0 : -ECONNRESET;
}

std::string headBytes(const InjectionHead& head) {
    return std::string(reinterpret_cast<const char*>(&head), sizeof(head));
}

}  // namespace

BpfSocketAddress bpfSocketAddress(const std::string& path) {
    // A hash, because a path may be longer than a socket's name.
    BpfSocketAddress result = {};
    result.address.sun_family = AF_UNIX;
    const uint64_t hash = fnv1a(profileFolder() + '\0' + path);
    const int length = snprintf(result.address.sun_path + 1, sizeof(result.address.sun_path) - 1,
                                "zbpf-%016llx", static_cast<unsigned long long>(hash));
    result.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
    return result;
}

std::string fatalDataRecord(int32_t type, int32_t pe, int32_t lnr, int32_t bnr,
                            const std::string& info) {
    const int32_t numbers[] = {type, pe, lnr, bnr};
    std::string record(reinterpret_cast<const char*>(numbers), sizeof(numbers));
    record.append(info.c_str(), info.size() + 1);
    return record;
}

int injectRecord(const std::string& path, const Injection& injection) {
    const std::string record = injection.record.value_or("");
    if (record.size() > kMaxRecordBytes) return -EMSGSIZE;
    const InjectionHead head = {0, injection.dispatchFlag, injection.dataType,
                                injection.record.has_value() ? 1 : 0};
    return deliver(path, headBytes(head) + record);
}

int injectDisconnect(const std::string& path) {
    return deliver(path, headBytes({1, 0, 0, 0}));
}

}  // namespace zstats::substitute
