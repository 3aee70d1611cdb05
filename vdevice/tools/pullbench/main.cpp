// pullbench: what a pull costs, held against what it must cost, and how the daemon bears many of
// them. tests/bench has the scripts that run it and make tables of what it prints.

#include <android-base/parseint.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "vdevice/tools/pullbench/Pullbench.h"
#include "vdevice/tools/pullbench/PullingStatsd.h"

using namespace zstats::vdevice;

namespace {

constexpr char kUsage[] =
        "usage: pullbench puller [--calls]           the bare puller\n"
        "       pullbench launch LABEL PROGRAM [ARGUMENT...]\n"
        "                                            prints pid and time, and becomes PROGRAM\n"
        "       pullbench subscribe COUNT            subscriptions that come and go\n"
        "in statsd's place and domain:\n"
        "       pullbench registrations              prints when they came\n"
        "       pullbench latency ROUNDS REPEATS     needs the daemon and a puller with --calls\n"
        "       pullbench throughput MILLIS REPEATS  likewise\n"
        "       pullbench load NAME MILLIS           eight callers; needs the daemon\n"
        "       pullbench soak PULLS                 needs the daemon\n";

int usage() {
    fputs(kUsage, stderr);
    return 2;
}

/** As init starts the daemon: without capabilities, and without what a shell has open. */
void dropPossessions() {
    for (int capability = 0; prctl(PR_CAPBSET_READ, capability) >= 0; ++capability) {
        prctl(PR_CAPBSET_DROP, capability);
    }
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int stream = 0; stream <= 2; ++stream) dup2(null, stream);
}

/** The time is that of the program's start in its own domain: nothing is run in between. */
int launch(char** words) {
    const int attribute = open("/proc/self/attr/exec", O_WRONLY | O_CLOEXEC);
    const auto length = static_cast<ssize_t>(strlen(words[0]));
    if (attribute < 0 || write(attribute, words[0], static_cast<size_t>(length)) != length) {
        perror("pullbench: the label is not taken");
        return EXIT_FAILURE;
    }
    printf("launched %d %lld\n", getpid(), static_cast<long long>(nanosNow()));
    dropPossessions();
    execv(words[1], words + 1);
    return EXIT_FAILURE;
}

/** One that the word names; 0 if it is no positive number. */
int positive(const char* word) {
    int number = 0;
    return android::base::ParseInt(word, &number, 1) ? number : 0;
}

}  // namespace

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::string_view command = argc > 1 ? argv[1] : "";
    const int first = argc > 2 ? positive(argv[2]) : 0;
    const int second = argc > 3 ? positive(argv[3]) : 0;
    if (command == "puller" && argc == 2) return servePuller(false);
    if (command == "puller" && argc == 3) {
        return argv[2] == std::string_view("--calls") ? servePuller(true) : usage();
    }
    if (command == "launch" && argc > 3) return launch(argv + 2);
    if (command == "registrations" && argc == 2) return serveRegistrations();
    if (argc == 3 && first > 0) {
        if (command == "subscribe") return subscribe(first);
        if (command == "soak") return soak(first);
    }
    if (command == "load" && argc == 4 && second > 0) return pullUnderLoad(argv[2], second);
    if (argc == 4 && first > 0 && second > 0) {
        if (command == "latency") return measureLatency(first, second);
        if (command == "throughput") return measureThroughput(first, second);
    }
    return usage();
}
