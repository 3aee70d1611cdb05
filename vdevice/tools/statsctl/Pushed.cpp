#include <cstdio>

#include "vdevice/tools/statsctl/Commands.h"
#include "vdevice/tools/statsctl/ControlledStatsd.h"

namespace zstats::vdevice {

int pushedCommand(cli::Statsd& statsd, const cli::CommandArguments& arguments) {
    if (!cli::canAsk(statsd)) return cli::kExitFailed;
    const auto atoms = ControlledStatsd().pushed();
    if (!atoms) {
        fprintf(stderr, "statsctl: %s\n", cli::kNoStatsd);
        return cli::kExitFailed;
    }
    for (const cli::PulledAtom& atom : *atoms) cli::printPulled(atom, arguments.json);
    return cli::kExitOk;
}

}  // namespace zstats::vdevice
