// statsctl: what an engineer asks the virtual device's statsd and the daemon behind it.

#include <cstdio>
#include <map>
#include <string_view>

#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/tools/statsctl/Statsctl.h"

using namespace zstats::vdevice;

namespace {

constexpr char kUsage[] =
        "usage: statsctl pull [--json] [--fresh|--settle|--parallel] [TAG...]\n"
        "       statsctl load [--threads N] [--count ROUNDS] [--for SECONDS] [--pause MS]\n"
        "                     [--wait] [TAG...]\n"
        "       statsctl registrations\n"
        "       statsctl pushed [--json]\n"
        "       statsctl explain TAG\n"
        "       statsctl subscribe ID... [--uid N] [--for SECONDS] [--count N] [--stall] [--json]\n"
        "       statsctl trace FILE [ID...] [--for SECONDS]\n"
        "       statsctl watch [ID...] [--for SECONDS]\n";

/** A command and the words that it takes. */
struct Command {
    const char* name;
    int (*run)(const Words& words);
    std::string_view options;  // each with blanks around
    size_t minIds;
    size_t maxIds;
    bool takesFile = false;  // its first word is a file's name
};

constexpr size_t kAnyNumber = SIZE_MAX;

constexpr Command kCommands[] = {
        {"pull", pullCommand, " --json --settle --fresh --parallel ", 0, kAnyNumber},
        {"load", loadCommand, " --threads --count --for --pause --wait ", 0, kAnyNumber},
        {"registrations", [](const Words&) { return registrationsCommand(); }, "", 0, 0},
        {"pushed", pushedCommand, " --json ", 0, 0},
        {"explain", explainCommand, "", 1, 1},
        {"subscribe", subscribeCommand, " --json --uid --for --count --stall ", 0, kAnyNumber},
        {"trace", traceCommand, " --for ", 0, kAnyNumber, true},
        {"watch", watchCommand, " --for ", 0, kAnyNumber},
};

int complain(const Command& command, const char* what, std::string_view word) {
    fprintf(stderr, "statsctl %s: %s '%.*s'\n", command.name, what, static_cast<int>(word.size()),
            word.data());
    return kExitUsage;
}

bool takesNumber(std::string_view option) {
    return option == "--uid" || option == "--for" || option == "--count" || option == "--threads" ||
           option == "--pause";
}

/** Puts an option into `words`; false if it wants a number and `value` is none. */
bool takeOption(std::string_view option, const char* value, Words* words) {
    const std::map<std::string_view, bool*> flags = {
            {"--json", &words->json},   {"--settle", &words->settle},
            {"--fresh", &words->fresh}, {"--parallel", &words->parallel},
            {"--stall", &words->stall}, {"--wait", &words->wait}};
    const auto flag = flags.find(option);
    if (flag != flags.end()) return *flag->second = true;
    const auto number = value == nullptr ? std::nullopt : parseInt(value);
    if (!number || *number < 0) return false;
    const std::map<std::string_view, std::optional<int>*> numbers = {{"--uid", &words->uid},
                                                                     {"--for", &words->seconds},
                                                                     {"--count", &words->count},
                                                                     {"--threads", &words->threads},
                                                                     {"--pause", &words->pauseMs}};
    *numbers.at(option) = number;
    return true;
}

int run(const Command& command, int argc, char** argv) {
    Words words;
    for (int i = 2; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word.substr(0, 2) == "--") {
            const std::string padded = " " + std::string(word) + " ";
            if (command.options.find(padded) == std::string_view::npos) {
                return complain(command, "unknown option", word);
            }
            if (!takeOption(word, argv[i + 1], &words)) {
                return complain(command, "a number must follow", word);
            }
            if (takesNumber(word)) ++i;
            continue;
        }
        if (command.takesFile && words.file.empty()) {
            words.file = word;
            continue;
        }
        const auto id = parseInt(word);
        if (!id) return complain(command, "not an atom id:", word);
        words.ids.push_back(*id);
    }
    if (command.takesFile && words.file.empty()) {
        fprintf(stderr, "statsctl %s: a file's name must follow, or -\n", command.name);
        return kExitUsage;
    }
    if (words.ids.size() < command.minIds || words.ids.size() > command.maxIds) {
        fprintf(stderr, "statsctl %s: %s\n", command.name,
                command.maxIds == 0 ? "takes no atom id" : "takes one atom id");
        return kExitUsage;
    }
    return command.run(words);
}

}  // namespace

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::string_view name = argc > 1 ? argv[1] : "";
    for (const Command& command : kCommands) {
        if (name == command.name) return run(command, argc, argv);
    }
    if (!name.empty() && name != "--help") {
        fprintf(stderr, "statsctl: unknown command '%s'\n", argv[1]);
    }
    fputs(kUsage, name == "--help" ? stdout : stderr);
    return name == "--help" ? kExitOk : kExitUsage;
}
