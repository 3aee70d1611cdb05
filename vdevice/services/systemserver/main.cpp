// Stand-in for the system server: answers statsd's permission checks and sets sys.boot_completed.
// On a phone it also has the thermal and audio services, which are separate programs here, so that
// tests can stop one of them.

#include <aidl/android/os/BnStatsCompanionService.h>
#include <cutils/properties.h>
#include <private/android_filesystem_config.h>

#include <algorithm>
#include <string>

#include "vdevice/lib/ServiceMain.h"
#include "vdevice/lib/profile/ProfileFiles.h"

using namespace zstats::vdevice;

namespace {

class StatsCompanion : public aidl::android::os::BnStatsCompanionService {
  public:
    /** Root and system have every permission, other uids none. */
    ndk::ScopedAStatus checkPermission(const std::string&, int32_t, int32_t uid,
                                       bool* granted) override {
        *granted = uid == AID_ROOT || uid == AID_SYSTEM;
        return ndk::ScopedAStatus::ok();
    }
};

/** True when init starts the service: the profile has its file and does not list it as absent. */
bool isStarted(const std::string& service, const std::string& file) {
    const auto absent = profileLines(readProfileFile(profilePath(profile::kAbsent)).value_or(""));
    return readProfileFile(profilePath(file)) &&
           std::find(absent.begin(), absent.end(), service) == absent.end();
}

}  // namespace

int main() {
    const auto companion = ndk::SharedRefBase::make<StatsCompanion>();
    publishOrDie("statscompanion", companion->asBinder().get());
    // Before waiting, because statsd may ask for permissions meanwhile.
    startBinderThreads();
    // On a phone, statsd starts long before the system server.
    waitForService("stats");
    if (isStarted("thermalservice", profile::kThermal)) waitForService("thermalservice");
    if (isStarted("audio", profile::kAudio)) waitForService("audio");
    property_set("sys.boot_completed", "1");
    return serveBinderCalls();
}
