#include <binder/ProcessState.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>

#include "vdevice/lib/ServiceMain.h"

// Waits until services are registered: those named as arguments, and then it ends; or, without
// arguments, those of each line of standard input, which it writes back once they all are. An empty
// line is answered when the service manager itself answers.

namespace {

constexpr useconds_t kPollMicros = 10'000;

/** libbinder's own wait looks only once a second. */
void waitForManager() {
    while (android::ProcessState::self()->getContextObject(nullptr) == nullptr) usleep(kPollMicros);
}

void answerLines() {
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream names(line);
        for (std::string name; names >> name;) zstats::vdevice::waitForService(name);
        std::cout << line << std::endl;
    }
}

}  // namespace

int main(int argc, char** argv) {
    waitForManager();
    for (int i = 1; i < argc; ++i) zstats::vdevice::waitForService(argv[i]);
    if (argc == 1) answerLines();
    return 0;
}
