#include <stdlib.h>
#include <sys/reboot.h>
#include <sys/stat.h>

#include <csignal>

#include "vdevice/system/scripthost/ScriptHost.h"

// The virtual device's connection to the launcher, a service of init: the log, scripts and shells,
// and the power-off.

int main() {
    signal(SIGPIPE, SIG_IGN);
    umask(022);  // as a phone's shell, because services read the files of a script
    // Not in a phone's order: this device's statsctl precedes the phone's.
    setenv("PATH", "/system/bin:/system_ext/bin:/bin:/sbin", 1);
    setenv("HOME", "/", 1);
    setenv("TERM", "linux", 1);
    zstats::vdevice::ScriptHost().run();
    reboot(RB_POWER_OFF);
    return EXIT_FAILURE;
}
