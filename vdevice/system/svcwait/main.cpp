#include <binder/IServiceManager.h>

#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "vdevice/lib/CommandLine.h"
#include "vdevice/lib/ServiceMain.h"

namespace {

constexpr char kUsage[] =
        "usage: svcwait NAME...\n"
        "       svcwait\n"
        "Waits until services are registered, and ends. Without a name: waits, for each line of "
        "names\n"
        "on standard input, for these and writes the line to standard output; an empty line waits "
        "for\n"
        "the service manager.\n";

void answerLines() {
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream names(line);
        for (std::string name; names >> name;) zstats::vdevice::waitForService(name);
        std::cout << line << std::endl;
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> names;
    zstats::vdevice::CommandLine line("svcwait", kUsage);
    if (const auto ended = line.read(argc, argv, &names)) return *ended;
    android::defaultServiceManager();  // waits until it is ready
    for (const std::string& name : names) zstats::vdevice::waitForService(name);
    if (names.empty()) answerLines();
    return 0;
}
