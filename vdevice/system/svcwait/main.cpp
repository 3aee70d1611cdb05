#include <binder/IServiceManager.h>

#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>

#include "vdevice/lib/ServiceMain.h"

// Waits until services are registered.
//
//   svcwait NAME...      waits for these and ends
//   svcwait              for each line of names on standard input: waits for these, then writes the
//                        line to standard output; an empty line waits for the service manager

namespace {

void answerLines() {
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream names(line);
        for (std::string name; names >> name;) zstats::vdevice::waitForService(name);
        std::cout << line << std::endl;
    }
}

}  // namespace

int main(int argc, char** argv) {
    android::defaultServiceManager();  // waits until it is ready
    for (int i = 1; i < argc; ++i) zstats::vdevice::waitForService(argv[i]);
    if (argc == 1) answerLines();
    return 0;
}
