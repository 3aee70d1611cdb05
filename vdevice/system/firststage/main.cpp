#include <android-base/chrono_utils.h>
#include <stdlib.h>
#include <sys/reboot.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "vdevice/lib/Channel.h"
#include "vdevice/system/firststage/AbsentServices.h"
#include "vdevice/system/firststage/Boot.h"
#include "vdevice/system/firststage/Labels.h"

// The first process. Prepares file systems, the binder driver, the SELinux policy, labels and the
// profile's files, then executes Android's init.

namespace zstats::vdevice {
namespace {

constexpr char kInit[] = "/system/bin/init";

/** Sets a variable that init turns into a property. */
void noteTime(const char* variable) {
    const auto now = android::base::boot_clock::now().time_since_epoch().count();
    setenv(variable, std::to_string(now).c_str(), 1);
}

/** Returns an error text, empty on success. */
std::string prepare() {
    noteTime("FIRST_STAGE_STARTED_AT");
    mountFileSystems();
    raiseDescriptorLimit();
    // The driver and the system's files come before the policy, because the domain init may neither
    // load modules nor write those files.
    std::string error;
    for (const auto step : {loadBinder, showBuildProp, disableAbsentServices, loadPolicy}) {
        error = step();
        if (!error.empty()) return error;
    }
    noteTime("SELINUX_STARTED_AT");
    mountLabelledFileSystems();
    error = labelFiles();
    return error.empty() ? showProfileFiles() : error;
}

}  // namespace
}  // namespace zstats::vdevice

int main() {
    using namespace zstats::vdevice;
    std::string error = prepare();
    if (error.empty()) {
        execl(kInit, kInit, "second_stage", nullptr);
        error = std::string(kInit) + " cannot be run";
    }
    Channel channel;
    channel.send(FrameType::kRefusal, error);
    channel.drain();
    reboot(RB_POWER_OFF);
    return 1;
}
