#pragma once

#include "cli/statsctl/Statsctl.h"

namespace zstats::vdevice {

// What the control socket alone can be asked for.
int loadCommand(cli::Statsd& statsd, const cli::Words& words);
int pushedCommand(cli::Statsd& statsd, const cli::Words& words);

}  // namespace zstats::vdevice
