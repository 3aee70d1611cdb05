#include "vdevice/system/init/PropertyService.h"

#include <android-base/file.h>
#include <errno.h>
#include <selinux/selinux.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cstring>
#include <sstream>

#include "vdevice/system/init/InitLog.h"
#include "vdevice/system/init/Labels.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;
using zstats::properties::PropertyArea;
using zstats::properties::PropertyRequest;

constexpr char kContexts[] = "/etc/selinux/property_contexts";
constexpr char kControlPrefix[] = "ctl.";
/** Answers of the platform's property service. */
constexpr int kErrorReadOnly = 0xB;
constexpr int kErrorDenied = 0x18;
constexpr int kErrorControl = 0x20;
constexpr int kErrorSet = 0x24;
constexpr timeval kClientPatience = {2, 0};

bool startsWith(const std::string& text, const char* prefix) {
    return text.compare(0, strlen(prefix), prefix) == 0;
}

/** The process's program, for the log. */
std::string programOf(pid_t pid) {
    std::string command;
    android::base::ReadFileToString("/proc/" + std::to_string(pid) + "/cmdline", &command);
    return command.substr(0, command.find('\0'));
}

/** The domain at the other end of a connection; empty, which is allowed nothing, if unknown. */
std::string domainOf(int socket) {
    char* label = nullptr;
    if (getpeercon(socket, &label) != 0) return "";
    std::string domain = label;
    freecon(label);
    return domain;
}

std::unique_ptr<PropertyArea> createArea() {
    const LabelledCreation labelled(zstats::properties::kAreaPath);
    return PropertyArea::create(zstats::properties::kAreaPath);
}

}  // namespace

std::string PropertyService::open() {
    mArea = createArea();
    if (mArea == nullptr)
        return std::string(zstats::properties::kAreaPath) + ": " + strerror(errno);
    mContexts = zstats::selinux::Contexts::read(kContexts);
    if (!mContexts) return std::string(kContexts) + ": " + strerror(errno);
    mSocket.reset(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    static_assert(sizeof(zstats::properties::kServicePath) <= sizeof(address.sun_path));
    memcpy(address.sun_path, zstats::properties::kServicePath,
           sizeof(zstats::properties::kServicePath));
    const LabelledCreation labelled(address.sun_path);
    if (bind(mSocket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        chmod(address.sun_path, 0666) != 0 || listen(mSocket.get(), SOMAXCONN) != 0) {
        return std::string(zstats::properties::kServicePath) + ": " + strerror(errno);
    }
    return "";
}

std::string PropertyService::load(const std::string& path) {
    std::string text;
    if (!android::base::ReadFileToString(path, &text)) return path + ": " + strerror(errno);
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        const size_t equals = line.find('=');
        if (line.empty() || line[0] == '#' || equals == std::string::npos) continue;
        const int result = set(line.substr(0, equals), line.substr(equals + 1));
        if (result != 0) return path + ": '" + line + "': " + strerror(-result);
    }
    return "";
}

int PropertyService::set(const std::string& name, const std::string& value) {
    const int result = mArea->set(name, value);
    if (result == 0) mListener(name, value);
    return result;
}

std::string PropertyService::get(const std::string& name) const {
    char value[PROP_VALUE_MAX] = {};
    const prop_info* const found = mArea->find(name.c_str());
    if (found != nullptr) PropertyArea::read(*found, value);
    return value;
}

void PropertyService::serve() {
    const unique_fd client(accept4(mSocket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    ucred peer = {};
    socklen_t length = sizeof(peer);
    getsockopt(client.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length);
    setsockopt(client.get(), SOL_SOCKET, SO_RCVTIMEO, &kClientPatience, sizeof(kClientPatience));
    PropertyRequest request;
    if (!zstats::properties::readPropertyRequest(client.get(), &request)) return;
    const Client asking = {peer.pid, domainOf(client.get())};
    zstats::properties::sendPropertyResult(client.get(), handle(request, asking));
}

bool PropertyService::maySet(const Client& client, const std::string& name) const {
    return zstats::selinux::isAllowed(client.domain, mContexts->ofProperty(name),
                                      "property_service", "set",
                                      "property=" + name + " pid=" + std::to_string(client.pid));
}

int PropertyService::handle(const PropertyRequest& request, const Client& client) {
    if (startsWith(request.name, kControlPrefix)) return control(request, client);
    const pid_t pid = client.pid;
    if (!maySet(client, request.name)) {
        INIT_LOG(ERROR, "Unable to set property '%s' from pid: %d: SELinux permission check failed",
                 request.name.c_str(), pid);
        return kErrorDenied;
    }
    if (startsWith(request.name, "ro.") && mArea->find(request.name.c_str()) != nullptr) {
        INIT_LOG(ERROR, "Unable to set property '%s' from pid: %d: it is read-only",
                 request.name.c_str(), pid);
        return kErrorReadOnly;
    }
    const int result = set(request.name, request.value);
    if (result == 0) return 0;
    INIT_LOG(ERROR, "Unable to set property '%s' from pid: %d: %s", request.name.c_str(), pid,
             strerror(-result));
    return kErrorSet;
}

int PropertyService::control(const PropertyRequest& request, const Client& client) {
    // A domain may control one service by either name: all that concerns the service, or this alone.
    if (!maySet(client, kControlPrefix + request.value) &&
        !maySet(client, request.name + "$" + request.value)) {
        INIT_LOG(ERROR,
                 "Unable to set property '%s' from pid: %d: Invalid permissions to perform "
                 "'%s' on '%s'",
                 request.name.c_str(), client.pid,
                 request.name.substr(strlen(kControlPrefix)).c_str(), request.value.c_str());
        return kErrorControl;
    }
    const pid_t pid = client.pid;
    const std::string program = programOf(pid);
    const std::string action = request.name.substr(strlen(kControlPrefix));
    const bool done = mControl(action, request.value);
    INIT_LOG(INFO, "Control message: %s %s for '%s' from pid: %d (%s)",
             done ? "Processed" : "Could not process", request.name.c_str(), request.value.c_str(),
             pid, program.c_str());
    return done ? 0 : kErrorControl;
}

}  // namespace zstats::vdevice
