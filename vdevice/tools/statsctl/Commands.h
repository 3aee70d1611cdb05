#pragma once

#include "cli/statsctl/Statsctl.h"

namespace zstats::vdevice {

// Commands that need the control socket.
int loadCommand(cli::Statsd& statsd, const cli::CommandArguments& arguments);
int pushedCommand(cli::Statsd& statsd, const cli::CommandArguments& arguments);

}  // namespace zstats::vdevice
