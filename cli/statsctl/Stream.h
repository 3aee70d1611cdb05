#pragma once

#include <android-base/unique_fd.h>

#include <functional>

#include "cli/lib/atoms/ShellStream.h"
#include "cli/statsctl/Statsctl.h"

namespace zstats::cli {

/** Handles the atoms of a message; none for a heartbeat. False ends the stream with kExitOk. */
using StreamUser = std::function<bool(const std::vector<StreamedAtom>& atoms)>;

/**
 * Subscribes to the atoms of `arguments` through "atomacq" and follows the stream until it breaks,
 * the user ends it, a signal ends it, or the seconds of `arguments` are over. Returns the exit
 * status; prints errors on standard error.
 */
int followStream(const CommandArguments& arguments, const StreamUser& user);

/** Makes SIGINT and SIGTERM end a followed stream with kExitOk instead of the process. */
void endFollowingOnSignal();

}  // namespace zstats::cli
