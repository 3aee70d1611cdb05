// Stand-in for statsd: keeps pullers, pulls them, and streams to shell subscriptions.

#include <android/binder_process.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "vdevice/lib/ServiceMain.h"
#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/system/statsd/Companion.h"
#include "vdevice/system/statsd/ControlServer.h"
#include "vdevice/system/statsd/StatsdLog.h"
#include "vdevice/system/statsd/StatsdService.h"

using namespace zstats::vdevice;

namespace {

// Nine threads serve calls, as on a phone: the first of the pool, and those that the driver requests.
constexpr uint32_t kMaxBinderThreads = 8;

/** The socket that init created for this service; -1 without one. */
int pushSocket() {
    const char* text = getenv("ANDROID_SOCKET_statsdw");
    return text == nullptr ? -1 : parseInt(text).value_or(-1);
}

}  // namespace

int main() {
    // A closed reader makes a write fail instead.
    signal(SIGPIPE, SIG_IGN);
    ABinderProcess_setThreadPoolMaxThreadCount(kMaxBinderThreads);
    ABinderProcess_startThreadPool();

    static PullerManager pullers;
    static ShellSubscriber subscriber(&pullers);
    static PushedAtoms pushed([](const PushedEvent& event) { subscriber.push(event); });
    const int socket = pushSocket();
    if (socket >= 0) {
        pushed.start(socket);
    } else {
        STATSD_LOG(ERROR, "no socket statsdw: pushed atoms will not arrive");
    }

    // Before the service is published, because the tools wait for the service.
    static ControlServer control(&pullers, &pushed);
    if (!control.start()) return EXIT_FAILURE;
    const auto service =
            ndk::SharedRefBase::make<StatsdService>(&pullers, &subscriber, companionGrants);
    publishOrDie("stats", service->asBinder().get());
    // As on a phone, the main thread serves no binder calls.
    while (true) pause();
}
