// statsctl: queries a device's statsd and the daemon, for engineers.

#include <unistd.h>

#include <cstdio>

#include "cli/statsctl/PlatformStatsd.h"
#include "cli/statsctl/Statsctl.h"

using namespace zstats::cli;

int main(int argc, char** argv) {
    PlatformStatsd statsd;
    const int status = runStatsctl(argc, argv, commandTable(), statsd);
    fflush(stdout);
    _exit(status);  // skips static destructors: binder threads may still use those objects
}
