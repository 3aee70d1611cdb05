#include <android-base/parseint.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <sstream>
#include <string_view>
#include <utility>

#include "cli/lib/CommandLine.h"
#include "cli/lib/atoms/AtomCatalogue.h"
#include "cli/statsctl/Statsctl.h"

namespace zstats::cli {
namespace {

constexpr char kOptions[] =
        "  --json          one line of JSON an event, or an atom\n"
        "  --csv FOLDER    a file of comma-separated values for each atom\n"
        "  --units         gives the lines of JSON the fields' units\n"
        "  --schema        the JSON Schema of such lines\n"
        "  --above PERCENT leaves out what moved by less\n"
        "  --fresh         waits until the cool-down is over\n"
        "  --settle        waits for registrations, and pulls twice what counts from the pull "
        "before\n"
        "  --parallel      pulls all at the same time\n"
        "  --threads N     so many threads (default: 8)\n"
        "  --pause MS      each of them waits as long after a pull\n"
        "  --wait          begins when a line of input has come\n"
        "  --for SECONDS   ends after this time\n"
        "  --count N       ends after so many rounds or atoms\n"
        "  --uid N         asks as this uid\n"
        "  --stall         never reads the stream\n"
        "  --any           takes ids as they are, also none\n";

/** Usages of the commands, and their options. */
std::string helpOf(const std::vector<Command>& commands) {
    std::string help, usages;
    for (const Command& command : commands) {
        usages += std::string(usages.empty() ? "usage:" : "      ") + " statsctl " + command.name +
                  (*command.usage == '\0' ? "" : " ") + command.usage + "\n";
    }
    std::istringstream options(kOptions);
    for (std::string line; std::getline(options, line);) {
        if (usages.find(line.substr(2, line.find(' ', 2) - 2)) != std::string::npos)
            help += line + "\n";
    }
    return usages + help;
}

/** Adds the options that the command's usage names. */
void addOptions(const Command& command, CommandLine* line, CommandArguments* to) {
    const auto has = [&](const char* name) {
        return std::string_view(command.usage).find("--" + std::string(name)) !=
               std::string_view::npos;
    };
    const std::pair<const char*, bool*> flags[] = {
            {"json", &to->json},         {"settle", &to->settle}, {"fresh", &to->fresh},
            {"parallel", &to->parallel}, {"stall", &to->stall},   {"wait", &to->wait},
            {"any", &to->any},           {"units", &to->units},   {"schema", &to->schema}};
    for (const auto& [name, target] : flags) {
        if (has(name)) line->flag(name, target);
    }
    if (has("csv")) line->text("csv", &to->csv);
    const std::pair<const char*, std::optional<int>*> numbers[] = {
            {"uid", &to->uid},         {"for", &to->seconds},   {"count", &to->count},
            {"threads", &to->threads}, {"pause", &to->pauseMs}, {"above", &to->above}};
    for (const auto& [name, target] : numbers) {
        if (has(name)) line->number(name, target, 0, INT_MAX);
    }
}

/** What is wrong with the ids of a call, or empty. */
std::string checkIds(const Command& command, const CommandArguments& arguments) {
    if (command.ids == Ids::kNone && !arguments.ids.empty()) return "takes no atom id";
    if (command.ids == Ids::kOnePulled && arguments.ids.size() != 1) return "takes one atom id";
    if (arguments.any) return "";
    if (command.ids == Ids::kSome && arguments.ids.empty()) return "wants atom ids";
    const bool pulled = command.ids == Ids::kPulled || command.ids == Ids::kOnePulled;
    const auto known = pulled ? pulledAtomIds() : allAtomIds();
    std::string strange;
    for (int32_t id : arguments.ids) {
        if (std::find(known.begin(), known.end(), id) == known.end()) {
            strange += " " + std::to_string(id);
        }
    }
    if (strange.empty()) return "";
    return std::string(pulled ? "no such pulled atom:" : "no such atom:") + strange;
}

int run(const Command& command, int argc, char** argv, Statsd& statsd) {
    CommandLine line(std::string("statsctl ") + command.name, helpOf({command}));
    CommandArguments arguments;
    std::vector<std::string> others;
    addOptions(command, &line, &arguments);
    if (const auto ended = line.read(argc, argv, &others)) return *ended;
    if (arguments.json && !arguments.csv.empty()) {
        return line.complain("takes --json or --csv, not both");
    }
    auto word = others.begin();
    if (others.size() < command.files) {
        return line.complain(command.files == 1 ? "wants FILE, or -" : "wants two files");
    }
    for (size_t i = 0; i < command.files; ++i) arguments.files.push_back(*word++);
    for (; word != others.end(); ++word) {
        int32_t id = 0;
        if (!android::base::ParseInt(*word, &id)) {
            return line.complain("not an atom id: '" + *word + "'");
        }
        arguments.ids.push_back(id);
    }
    const std::string fault = checkIds(command, arguments);
    return fault.empty() ? command.run(statsd, arguments) : line.complain(fault);
}

}  // namespace

const std::vector<Command>& commandTable() {
    static const std::vector<Command> kCommands = {
            {"pull", pullCommand, Ids::kPulled, "[--json] [--fresh|--settle|--parallel] [ID...]"},
            {"registrations", registrationsCommand, Ids::kNone, ""},
            {"explain", explainCommand, Ids::kOnePulled, "ID"},
            {"subscribe", subscribeCommand, Ids::kSome,
             "[--json|--csv FOLDER] [--units] [--uid N] [--for SECONDS] [--count N] [--stall] "
             "[--any] ID..."},
            {"trace", traceCommand, Ids::kAny, "[--for SECONDS] FILE [ID...]", 1},
            {"watch", watchCommand, Ids::kAny, "[--for SECONDS] [ID...]"},
            {"report", reportCommand, Ids::kNone, "[--json|--csv FOLDER] [--units] FILE", 1},
            {"diff", diffCommand, Ids::kNone, "[--above PERCENT] FILE FILE", 2},
            {"atoms", atomsCommand, Ids::kNone, "[--json|--schema]"},
    };
    return kCommands;
}

int runStatsctl(int argc, char** argv, const std::vector<Command>& commands, Statsd& statsd) {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::string_view name = argc > 1 ? argv[1] : "";
    for (const Command& command : commands) {
        if (name == command.name) return run(command, argc - 1, argv + 1, statsd);
    }
    CommandLine line("statsctl", helpOf(commands));
    std::vector<std::string> words;
    line.endOptionsAtWord();
    if (const auto ended = line.read(argc, argv, &words)) return *ended;
    return line.complain(words.empty() ? "wants a command (--help lists them)"
                                       : "unknown command '" + words[0] + "' (--help lists them)");
}

}  // namespace zstats::cli
