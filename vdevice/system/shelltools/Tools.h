#pragma once

#include <string>
#include <vector>

namespace zstats::vdevice {

using Arguments = std::vector<std::string>;

/** The tools. Each takes its arguments without the tool's name and returns the exit status. */
int logcatMain(const Arguments& arguments);
int asuidMain(const Arguments& arguments);
int chconMain(const Arguments& arguments);
int inptyMain(const Arguments& arguments);
int runconMain(const Arguments& arguments);

/** Says on standard error how `tool` is used; returns the exit status for that. */
int usage(const char* text);

/** Becomes the command; returns the exit status of a shell for one that cannot be run. */
int runCommand(const char* tool, const Arguments& command);

}  // namespace zstats::vdevice
