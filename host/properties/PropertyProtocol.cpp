#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <errno.h>
#include <sys/_system_properties.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "host/properties/PropertyStore.h"

namespace zstats::properties {
namespace {

void appendNumber(std::string* out, uint32_t number) {
    out->append(reinterpret_cast<const char*>(&number), sizeof(number));
}

void appendText(std::string* out, const std::string& text) {
    appendNumber(out, static_cast<uint32_t>(text.size()));
    out->append(text);
}

}  // namespace

int requestProperty(const std::string& path, const std::string& name, const std::string& value) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) return -ENAMETOOLONG;
    memcpy(address.sun_path, path.c_str(), path.size() + 1);
    android::base::unique_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd.ok()) return -errno;
    if (connect(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        return -errno;
    }
    std::string message;
    appendNumber(&message, PROP_MSG_SETPROP2);
    appendText(&message, name);
    appendText(&message, value);
    // No SIGPIPE if init has closed the socket. Only a signal ends the call before all is sent.
    const ssize_t sent =
            TEMP_FAILURE_RETRY(send(fd.get(), message.data(), message.size(), MSG_NOSIGNAL));
    if (sent < 0) return -errno;
    if (static_cast<size_t>(sent) != message.size()) return -EINTR;
    int32_t result = 0;
    if (!android::base::ReadFully(fd.get(), &result, sizeof(result))) return -EPIPE;
    return result;
}

}  // namespace zstats::properties
