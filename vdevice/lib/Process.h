#pragma once

#include <android-base/unique_fd.h>

#include <array>

namespace zstats::vdevice {

/** Blocks SIGCHLD and returns a non-blocking descriptor that reports it instead. */
android::base::unique_fd childDeaths();

/** Restores the default signal handling in a forked child. */
void becomeChild();

/**
 * Executes `path` with `command` (null-terminated) and the three standard descriptors; ends the
 * process with 127 if that fails. Only in a forked child.
 */
[[noreturn]] void execProgram(const char* path, const char* const* command,
                              const std::array<int, 3>& standard);

/** A wait status as a shell reports it: the exit status, or 128 plus the signal's number. */
int shellStatus(int waitStatus);

}  // namespace zstats::vdevice
