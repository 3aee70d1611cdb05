// pullbench: what a pull costs, held against what it must cost, and how the daemon bears many of
// them. tests/bench has the scripts that run it and make tables of what it prints.

#include <android-base/parseint.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <utils/SystemClock.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "cli/lib/CommandLine.h"
#include "vdevice/tools/pullbench/Pullbench.h"
#include "vdevice/tools/pullbench/PullingStatsd.h"

using namespace zstats::cli;
using namespace zstats::vdevice;

namespace {

constexpr char kUsage[] =
        "usage: pullbench puller [EVENT...]          the bare puller\n"
        "       pullbench launch LABEL PROGRAM [ARGUMENT...]\n"
        "                                            prints pid and time, and becomes PROGRAM\n"
        "       pullbench subscribe COUNT EVERY      subscriptions that come and go, each\n"
        "                                            EVERYth with a long list\n"
        "       pullbench register COUNT IDS         what so many lists of ids are answered\n"
        "in statsd's place and domain:\n"
        "       pullbench registrations              prints when they came\n"
        "       pullbench latency ROUNDS REPEATS     needs the daemon, then a puller\n"
        "       pullbench throughput MILLIS REPEATS  likewise\n"
        "       pullbench load NAME MILLIS           eight callers; needs the daemon\n"
        "       pullbench soak PULLS PAUSE           needs the daemon; after each PAUSE pulls\n"
        "                                            it says \"paused\" and waits for a line\n";

/** As init starts the daemon: without capabilities, and without what a shell has open. */
void dropPossessions() {
    for (int capability = 0; prctl(PR_CAPBSET_READ, capability) >= 0; ++capability) {
        prctl(PR_CAPBSET_DROP, capability);
    }
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int stream = 0; stream <= 2; ++stream) dup2(null, stream);
}

/** What a command is called with: words, of which the last ones are numbers from 1. */
struct Call {
    std::vector<std::string> words;
    std::vector<int> numbers;
};

/** The time is that of the program's start in its own domain: nothing is run in between. */
int launch(const Call& call) {
    const std::string& label = call.words[0];
    const int attribute = open("/proc/self/attr/exec", O_WRONLY | O_CLOEXEC);
    const auto length = static_cast<ssize_t>(label.size());
    if (attribute < 0 || write(attribute, label.data(), label.size()) != length) {
        perror("pullbench: the label is not taken");
        return EXIT_FAILURE;
    }
    std::vector<char*> program;
    for (size_t i = 1; i < call.words.size(); ++i) {
        program.push_back(const_cast<char*>(call.words[i].c_str()));
    }
    program.push_back(nullptr);
    printf("launched %d %lld\n", getpid(), static_cast<long long>(android::uptimeNanos()));
    dropPossessions();
    execv(program[0], program.data());
    return EXIT_FAILURE;
}

/** A command; `wants` names its words. */
struct Command {
    const char* name;
    const char* wants;
    size_t words;
    size_t numbers;
    bool takesMore;  // words, as many as there are
    int (*run)(const Call& call);
};

constexpr Command kCommands[] = {
        {"puller", "", 0, 0, true, [](const Call& call) { return servePuller(call.words); }},
        {"launch", "LABEL PROGRAM [ARGUMENT...]", 2, 0, true, launch},
        {"subscribe", "COUNT EVERY", 0, 2, false,
         [](const Call& call) { return subscribe(call.numbers[0], call.numbers[1]); }},
        {"register", "COUNT IDS", 0, 2, false,
         [](const Call& call) { return registerLists(call.numbers[0], call.numbers[1]); }},
        {"registrations", "", 0, 0, false, [](const Call&) { return serveRegistrations(); }},
        {"latency", "ROUNDS REPEATS", 0, 2, false,
         [](const Call& call) { return measureLatency(call.numbers[0], call.numbers[1]); }},
        {"throughput", "MILLIS REPEATS", 0, 2, false,
         [](const Call& call) { return measureThroughput(call.numbers[0], call.numbers[1]); }},
        {"load", "NAME MILLIS", 1, 1, false,
         [](const Call& call) { return pullUnderLoad(call.words[0], call.numbers[0]); }},
        {"soak", "PULLS PAUSE", 0, 2, false,
         [](const Call& call) { return soak(call.numbers[0], call.numbers[1]); }},
};

int run(const Command& command, int argc, char** argv) {
    CommandLine line(std::string("pullbench ") + command.name, kUsage);
    Call call;
    line.endOptionsAtWord();
    if (const auto ended = line.read(argc, argv, &call.words)) return *ended;
    const size_t count = call.words.size();
    const size_t least = command.words + command.numbers;
    if (count < least || (count > least && !command.takesMore)) {
        return line.complain(least == 0 ? std::string("takes no word")
                                        : std::string("wants ") + command.wants);
    }
    for (size_t i = command.words; i < least; ++i) {
        int number = 0;
        if (!android::base::ParseInt(call.words[i], &number, 1)) {
            return line.complain("'" + call.words[i] + "' is no number from 1");
        }
        call.numbers.push_back(number);
    }
    return command.run(call);
}

}  // namespace

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::string_view name = argc > 1 ? argv[1] : "";
    for (const Command& command : kCommands) {
        if (name == command.name) return run(command, argc - 1, argv + 1);
    }
    CommandLine line("pullbench", kUsage);
    std::vector<std::string> words;
    line.endOptionsAtWord();
    if (const auto ended = line.read(argc, argv, &words)) return *ended;
    return line.complain(words.empty() ? "wants a command (--help lists them)"
                                       : "unknown command '" + words[0] + "'");
}
