// The virtual device's statsd: it keeps pullers, pulls them, and streams to shell subscriptions.

#include <csignal>
#include <cstdlib>

#include "vdevice/lib/ServiceMain.h"
#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/system/statsd/Companion.h"
#include "vdevice/system/statsd/ControlService.h"
#include "vdevice/system/statsd/StatsdLog.h"
#include "vdevice/system/statsd/StatsdService.h"

using namespace zstats::vdevice;

namespace {

/** The socket that init made for this service; -1 if it made none. */
int pushSocket() {
    const char* text = getenv("ANDROID_SOCKET_statsdw");
    return text == nullptr ? -1 : parseInt(text).value_or(-1);
}

}  // namespace

int main() {
    // A reader who has gone shows as a failing write.
    signal(SIGPIPE, SIG_IGN);

    static PullerManager pullers;
    static ShellSubscriber subscriber(&pullers);
    static PushedAtoms pushed([](const PushedEvent& event) { subscriber.push(event); });
    const int socket = pushSocket();
    if (socket >= 0) {
        pushed.start(socket);
    } else {
        STATSD_LOG(ERROR, "no socket statsdw: pushed atoms will not arrive");
    }

    const auto control = ndk::SharedRefBase::make<ControlService>(&pullers, &pushed);
    publishOrDie("stats_control", control->asBinder().get());
    const auto service =
            ndk::SharedRefBase::make<StatsdService>(&pullers, &subscriber, companionGrants);
    publishOrDie("stats", service->asBinder().get());
    return serveBinderCalls();
}
