#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/statsctl/Statsd.h"

namespace zstats::cli {

/** Exit statuses of the tool. */
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;

/** The parsed command line after the command. */
struct CommandArguments {
    bool json = false;
    std::string csv;  // a folder; empty for none
    bool units = false;
    bool schema = false;
    bool settle = false;
    bool fresh = false;
    bool parallel = false;
    bool stall = false;
    bool wait = false;
    bool any = false;  // ids are not looked up in the catalogue
    std::optional<int> uid;
    std::optional<int> seconds;
    std::optional<int> count;
    std::optional<int> threads;
    std::optional<int> pauseMs;
    std::optional<int> above;        // percent
    std::vector<std::string> files;  // "-" is standard input or output
    std::vector<int32_t> ids;
};

/** Which atom ids a command takes. */
enum class Ids { kNone, kOnePulled, kPulled, kSome, kAny };

/** A command. It takes the options that its usage names. */
struct Command {
    const char* name;
    int (*run)(Statsd& statsd, const CommandArguments& arguments);  // returns the exit status
    Ids ids;
    const char* usage;
    size_t files = 0;  // how many of its first arguments are names of files
};

/** The commands of every device. */
const std::vector<Command>& commandTable();

/** Runs the command that the arguments name, asking `statsd`. Returns the exit status. */
int runStatsctl(int argc, char** argv, const std::vector<Command>& commands, Statsd& statsd);

/** False, with a message, if statsd cannot be asked. */
bool canAsk(Statsd& statsd);

/** Prints what a pull brought, as text or as JSON. */
void printPulled(const PulledAtom& atom, bool json);

int pullCommand(Statsd& statsd, const CommandArguments& arguments);
int registrationsCommand(Statsd& statsd, const CommandArguments& arguments);
int explainCommand(Statsd& statsd, const CommandArguments& arguments);
int subscribeCommand(Statsd& statsd, const CommandArguments& arguments);
int traceCommand(Statsd& statsd, const CommandArguments& arguments);
int watchCommand(Statsd& statsd, const CommandArguments& arguments);
int reportCommand(Statsd& statsd, const CommandArguments& arguments);
/** Status 0 if the recordings are alike, 1 if not, kExitUsage if one cannot be read. */
int diffCommand(Statsd& statsd, const CommandArguments& arguments);
int atomsCommand(Statsd& statsd, const CommandArguments& arguments);

}  // namespace zstats::cli
