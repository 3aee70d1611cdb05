#include <stdlib.h>
#include <sys/reboot.h>

#include <csignal>

#include "vdevice/system/scripthost/ScriptHost.h"

// The way out of the virtual device: the log as it grows, the script of the boot or a console, and
// the power-off at its end. It is a service of init's.

int main() {
    signal(SIGPIPE, SIG_IGN);
    setenv("PATH", "/system_ext/bin:/system/bin:/bin:/sbin", 1);
    setenv("HOME", "/", 1);
    setenv("TERM", "linux", 1);
    zstats::vdevice::ScriptHost().run();
    reboot(RB_POWER_OFF);
    return EXIT_FAILURE;
}
