#include <android-base/properties.h>
#include <binder/IServiceManager.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "cli/lib/atoms/AtomCatalogue.h"
#include "vdevice/lib/ServiceMain.h"
#include "vdevice/lib/StatsdControl.h"
#include "vdevice/lib/profile/RcServices.h"

// Sets "vdev.ready" when the device is up: every service that init started is registered, and the
// daemon's state is known. "registered": statsd has all of its registrations; "absent": the profile
// lists it as absent; "stopped": it refused to run; "exited": it ended. Init starts this service last.

namespace zstats::vdevice {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr char kDaemon[] = "zstats_pullerd";
constexpr auto kStep = 10ms;
/** A faulty statsd may lose registrations: after this time without a new one, stop waiting. */
constexpr auto kPatience = 10s;

std::string stateOf(const std::string& service) {
    return android::base::GetProperty("init.svc." + service, "");
}

void waitForServices() {
    for (const RcService& service : rcServicesIn({kSystemRc})) {
        if (stateOf(service.name) != "running") continue;
        for (const std::string& name : service.interfaces) waitForService(name);
    }
}

/** The number of registrations of living processes; 0 when statsd does not answer. */
size_t registrations() {
    control::Request request;
    request.set_registrations(true);
    const auto reply = askStatsd(request);
    if (!reply) return 0;
    const auto& list = reply->registrations();
    return static_cast<size_t>(std::count_if(list.begin(), list.end(),
                                             [](const auto& entry) { return entry.alive(); }));
}

bool isServing() {
    return android::defaultServiceManager()->checkService(android::String16(kDaemon)) != nullptr;
}

/** Waits for the daemon's registrations, if statsd runs. */
class Registrations {
  public:
    bool areComplete() {
        if (!isServing()) return false;
        if (stateOf("statsd") != "running") return true;
        const size_t count = registrations();
        if (count != mCount) mSince = Clock::now();
        mCount = count;
        return count >= mAll || Clock::now() - mSince > kPatience;
    }

  private:
    const size_t mAll = cli::pulledAtomIds().size();
    size_t mCount = 0;
    Clock::time_point mSince = Clock::now();
};

std::string daemonState() {
    if (access((std::string(kProfileRc) + "/" + kDaemon + ".rc").c_str(), F_OK) == 0)
        return "absent";
    Registrations registered;
    while (true) {
        const std::string state = stateOf(kDaemon);
        if (state == "stopped") return state;
        // init restarts a daemon that has ended by itself.
        if (state == "restarting") return "exited";
        if (registered.areComplete()) return "registered";
        std::this_thread::sleep_for(kStep);
    }
}

}  // namespace
}  // namespace zstats::vdevice

int main() {
    using namespace zstats::vdevice;
    android::defaultServiceManager();  // waits until it is ready
    waitForServices();
    return android::base::SetProperty("vdev.ready", daemonState()) ? 0 : 1;
}
