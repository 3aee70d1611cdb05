#include "vdevice/lib/StatsdControl.h"

#include <google/protobuf/io/zero_copy_stream_impl.h>
#include <google/protobuf/util/delimited_message_util.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <sstream>
#include <string_view>

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

// In the abstract namespace, so that a killed statsd leaves no file.
constexpr std::string_view kName("\0stats_control", 14);

unique_fd newSocket() {
    return unique_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

template <typename Call>
bool withAddress(Call call) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, kName.data(), kName.size());
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + kName.size());
    return call(reinterpret_cast<const sockaddr*>(&address), size) == 0;
}

unique_fd connectToStatsd() {
    unique_fd connection = newSocket();
    const bool connected = withAddress([&](const sockaddr* address, socklen_t size) {
        return TEMP_FAILURE_RETRY(connect(connection, address, size));
    });
    return connected ? std::move(connection) : unique_fd();
}

}  // namespace

unique_fd listenForControl() {
    unique_fd listener = newSocket();
    const bool listens = withAddress([&](const sockaddr* address, socklen_t size) {
        return bind(listener, address, size) == 0 ? listen(listener, SOMAXCONN) : -1;
    });
    return listens ? std::move(listener) : unique_fd();
}

bool statsdListens() {
    return connectToStatsd().ok();
}

std::optional<control::Reply> askStatsd(const control::Request& request) {
    const unique_fd connection = connectToStatsd();
    control::Reply reply;
    if (!connection.ok() || !sendControl(connection, request)) return std::nullopt;
    if (!receiveControl(connection, &reply)) return std::nullopt;
    return reply;
}

bool sendControl(int connection, const google::protobuf::MessageLite& message) {
    std::ostringstream stream;
    google::protobuf::util::SerializeDelimitedToOstream(message, &stream);
    // MSG_NOSIGNAL: a closed connection is an error, not a signal.
    const std::string bytes = stream.str();
    for (size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = TEMP_FAILURE_RETRY(
                send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL));
        if (count < 0) return false;
        sent += static_cast<size_t>(count);
    }
    return true;
}

bool receiveControl(int connection, google::protobuf::MessageLite* message) {
    google::protobuf::io::FileInputStream input(connection);
    return google::protobuf::util::ParseDelimitedFromZeroCopyStream(message, &input, nullptr);
}

}  // namespace zstats::vdevice
