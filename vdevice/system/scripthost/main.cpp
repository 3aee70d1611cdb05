#include <stdlib.h>
#include <sys/reboot.h>
#include <sys/stat.h>

#include <csignal>

#include "vdevice/system/scripthost/ScriptHost.h"

// The way out of the virtual device: the log as it grows, scripts and shells, and the power-off at the
// end. It is a service of init's.

int main() {
    signal(SIGPIPE, SIG_IGN);
    umask(022);  // that of a phone's shell; services read the files that a script writes
    // Not in a phone's order: this device's statsctl comes before the one of every device.
    setenv("PATH", "/system/bin:/system_ext/bin:/bin:/sbin", 1);
    setenv("HOME", "/", 1);
    setenv("TERM", "linux", 1);
    zstats::vdevice::ScriptHost().run();
    reboot(RB_POWER_OFF);
    return EXIT_FAILURE;
}
