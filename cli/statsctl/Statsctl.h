#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/lib/atoms/PulledAtom.h"
#include "vdevice/lib/StatsdControl.h"

namespace zstats::cli {

using vdevice::askStatsd;
using vdevice::statsdListens;

/** Exit statuses of the tool. */
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;

/** The parsed command line after the command. */
struct Words {
    bool json = false;
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

/** The failure of a pull for which there is no statsd. */
inline constexpr char kNoStatsd[] = "statsd does not answer";

/** Ends the process with a message if statsd is not there. */
void requireStatsd();
/** statsd's registrations in the order of their arrival; nothing if it does not answer. */
std::optional<control::Reply> askForRegistrations();

/** Pulls once. `fromCache`, if given, tells whether statsd answered from its cache. */
PulledAtom pullAtom(int32_t tag, bool* fromCache = nullptr);
/** Pulls once, beside other pulls and without regard to the cool-down. */
PulledAtom pullAtomNow(int32_t tag);
/** Pulls again until the answer does not come from statsd's cache. */
PulledAtom pullFresh(int32_t tag);

// The commands. Each returns the exit status.
int pullCommand(const Words& words);
int loadCommand(const Words& words);
int registrationsCommand();
int pushedCommand(const Words& words);
int explainCommand(const Words& words);
int subscribeCommand(const Words& words);
int traceCommand(const Words& words);
int watchCommand(const Words& words);
int reportCommand(const Words& words);
/** Status 0 if the recordings are alike, 1 if not, kExitUsage if one cannot be read. */
int diffCommand(const Words& words);
int atomsCommand(const Words& words);

}  // namespace zstats::cli
