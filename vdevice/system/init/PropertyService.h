#pragma once

#include <android-base/unique_fd.h>
#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/properties/PropertyStore.h"
#include "host/selinux/Contexts.h"

namespace zstats::vdevice {

/**
 * Holds the device's properties and answers the requests to change them. "ro." properties are set
 * once; a write to "ctl.start", "ctl.stop" or "ctl.restart" is a request about a service.
 */
class PropertyService {
  public:
    /** Carries out `action` ("start", ...) on the service of that name; false if there is none. */
    using ControlHandler = std::function<bool(const std::string& action, const std::string& name)>;

    /** Called whenever a property is set, also to the value that it has. */
    using SetListener = std::function<void(const std::string& name, const std::string& value)>;

    PropertyService(ControlHandler control, SetListener listener)
          : mControl(std::move(control)), mListener(std::move(listener)) {}

    /** Makes the store and its socket. Returns what went wrong, empty if nothing. */
    std::string open();
    /** Sets the `key=value` lines of a file. Returns what went wrong, empty if nothing. */
    std::string load(const std::string& path);

    /** Readable when a request waits. */
    int fd() const { return mSocket.get(); }
    /** Answers one request. A client that stalls is dropped. */
    void serve();

    /** From init itself. Returns 0 or a negative errno. */
    int set(const std::string& name, const std::string& value);
    /** The value now, empty if there is none. */
    std::string get(const std::string& name) const;

  private:
    /** Who asks: the process, and its domain. */
    struct Client {
        pid_t pid;
        std::string domain;
    };

    int handle(const zstats::properties::PropertyRequest& request, const Client& client);
    int control(const zstats::properties::PropertyRequest& request, const Client& client);
    /** SELinux' answer, by the label of `name`. */
    bool maySet(const Client& client, const std::string& name) const;

    const ControlHandler mControl;
    const SetListener mListener;
    std::unique_ptr<zstats::properties::PropertyArea> mArea;
    std::optional<zstats::selinux::Contexts> mContexts;
    android::base::unique_fd mSocket;
};

}  // namespace zstats::vdevice
