#pragma once

#include <android-base/unique_fd.h>

#include <functional>

#include "cli/lib/atoms/ShellStream.h"
#include "cli/statsctl/Statsctl.h"

namespace zstats::cli {

/** What is done with a stream while it is followed. */
struct StreamUser {
    /** The atoms of one message; none for a heartbeat. False ends the following with kExitOk. */
    std::function<bool(const std::vector<StreamedAtom>& atoms)> message;
    /** Watched beside the stream, for instance the keyboard; -1 for nothing. */
    int input = -1;
    /** `input` is readable. False ends the following with kExitOk. */
    std::function<bool()> readable;
};

/**
 * Subscribes to the atoms of `words` through "atomacq" and follows the stream until it breaks, the
 * user ends it, a signal asks the process to end, or the seconds of `words` are over. Returns the
 * exit status; what went wrong is on standard error.
 */
int followStream(const Words& words, const StreamUser& user);

/** From now on SIGINT and SIGTERM end a following with kExitOk instead of the process. */
void endFollowingOnSignal();

}  // namespace zstats::cli
