// statsctl of the virtual device: the phone's program with more commands, which queries this
// device's statsd through its control socket.

#include "vdevice/tools/statsctl/Commands.h"
#include "vdevice/tools/statsctl/ControlledStatsd.h"

using namespace zstats;

int main(int argc, char** argv) {
    std::vector<cli::Command> commands = cli::commandTable();
    commands.push_back({"load", vdevice::loadCommand, cli::Ids::kPulled,
                        "[--threads N] [--count ROUNDS] [--for SECONDS] [--pause MS] [--wait] "
                        "[ID...]"});
    commands.push_back({"pushed", vdevice::pushedCommand, cli::Ids::kNone, "[--json]"});
    vdevice::ControlledStatsd statsd;
    return cli::runStatsctl(argc, argv, commands, statsd);
}
