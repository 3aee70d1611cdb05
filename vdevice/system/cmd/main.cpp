#include <unistd.h>

#include <cstdio>

#include "acquire/Cmd.h"

/** The device's `cmd`: the daemon's command client with this process's own descriptors. */
int main(int argc, char** argv) {
    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    const int32_t result =
            zstats::cmdMain(arguments, android::aout, android::aerr, STDIN_FILENO, STDOUT_FILENO,
                            STDERR_FILENO, zstats::RunMode::kStandalone);
    fflush(stdout);
    // _exit skips static destructors: binder threads may still use those objects.
    _exit(result);
}
