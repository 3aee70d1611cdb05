#pragma once

#include <android-base/unique_fd.h>

#include <array>

namespace zstats::vdevice {

/** Blocks SIGCHLD and returns a descriptor that tells of it instead, without blocking reads. */
android::base::unique_fd childDeaths();

/** Restores the default signal handling in a forked child. */
void becomeChild();

/**
 * Runs `path` with `command` (ending in null) and the three standard descriptors; ends the process
 * with 127 if it cannot be run. Only in a fresh child.
 */
[[noreturn]] void execProgram(const char* path, const char* const* command,
                              const std::array<int, 3>& standard);

/** What a shell would say of a wait status: the exit status, or 128 and the signal's number. */
int shellStatus(int waitStatus);

}  // namespace zstats::vdevice
