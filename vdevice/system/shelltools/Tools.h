#pragma once

#include <string>
#include <vector>

namespace zstats::vdevice {

using Arguments = std::vector<std::string>;

/**
 * The tools. Each takes the words of its call that are no options, as many as it wants at least,
 * and returns the exit status.
 */
int asuidMain(const Arguments& arguments);
int chconMain(const Arguments& arguments);
int inptyMain(const Arguments& arguments);
int runconMain(const Arguments& arguments);

/** Prints the log; `dump` ends at its present end. */
int logcatMain(bool dump);

/** Becomes the command; returns the exit status of a shell for one that cannot be run. */
int runCommand(const char* tool, const Arguments& command);

}  // namespace zstats::vdevice
