#pragma once

#include <android-base/unique_fd.h>

#include <functional>

#include "cli/lib/atoms/ShellStream.h"
#include "cli/statsctl/Statsctl.h"

namespace zstats::cli {

/** The user of a followed stream. */
struct StreamUser {
    /** Handles the atoms of a message; none for a heartbeat. False ends the stream with kExitOk. */
    std::function<bool(const std::vector<StreamedAtom>& atoms)> message;
    /** Another descriptor to poll, for instance the keyboard; -1 for none. */
    int input = -1;
    /** Called when `input` is readable. False ends the stream with kExitOk. */
    std::function<bool()> readable;
};

/**
 * Subscribes to the atoms of `words` through "atomacq" and follows the stream until it breaks, the
 * user ends it, a signal ends it, or the seconds of `words` are over. Returns the exit status;
 * prints errors on standard error.
 */
int followStream(const Words& words, const StreamUser& user);

/** Makes SIGINT and SIGTERM end a followed stream with kExitOk instead of the process. */
void endFollowingOnSignal();

}  // namespace zstats::cli
