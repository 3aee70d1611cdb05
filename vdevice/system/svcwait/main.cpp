#include <string>
#include <vector>

#include "cli/lib/CommandLine.h"
#include "vdevice/lib/ServiceMain.h"

namespace {

constexpr char kUsage[] =
        "usage: svcwait NAME...\n"
        "Waits until services are registered, and ends.\n";

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> names;
    zstats::cli::CommandLine line("svcwait", kUsage);
    if (const auto ended = line.read(argc, argv, &names)) return *ended;
    for (const std::string& name : names) zstats::vdevice::waitForService(name);
    return 0;
}
