#include <android-base/unique_fd.h>
#include <binder/TextOutput.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>

#include "acquire/Cmd.h"
#include "daemon/Startup.h"
#include "daemon/ZstatsPullerService.h"
#include "host/inprocess/InProcessBinder.h"
#include "tests/support/libraries/FakeLibraries.h"

namespace zstats {
namespace {

using android::base::unique_fd;

/** The writing end of a pipe that nobody reads any more. */
int pipeWithoutReader() {
    int ends[2];
    if (pipe(ends) != 0) _exit(3);
    close(ends[0]);
    return ends[1];
}

/** What the daemon writes to somebody else's descriptor; true when the write failed with EPIPE. */
struct Write {
    const char* what;
    bool (*write)();
};

const Write kWrites[] = {
        {"a dump",
         [] {
             const android::sp<ZstatsPullerService> service(new ZstatsPullerService());
             return service->dump(pipeWithoutReader(), {}) == android::OK && errno == EPIPE;
         }},
        {"standard error",
         [] {
             dup2(pipeWithoutReader(), STDERR_FILENO);
             return fprintf(stderr, "create control pipe failed\n") < 0 && errno == EPIPE;
         }},
        {"the error text output",
         [] {
             dup2(pipeWithoutReader(), STDERR_FILENO);
             cmdMain({}, android::aout, android::aerr, 0, 1, 2, RunMode::kLibrary);
             return true;
         }},
        {"the standard text output",
         [] {
             dup2(pipeWithoutReader(), STDOUT_FILENO);
             cmdMain({"-l"}, android::aout, android::aerr, 0, 1, 2, RunMode::kStandalone);
             fflush(stdout);
             return true;
         }},
        {"a control pipe", [] { return write(pipeWithoutReader(), "", 1) < 0 && errno == EPIPE; }},
};

/** A daemon that may not run has run all the same, up to its gate. */
TEST(BrokenPipeTest, failsAWriteAndDoesNotEndTheDaemon) {
    libraries::Answers refusing;
    refusing.featureEnabled = false;
    libraries::reset(refusing);
    for (const Write& row : kWrites) {
        EXPECT_EXIT(
                {
                    signal(SIGPIPE, SIG_DFL);
                    const int status = runDaemon();
                    _exit(status == -1 && row.write() ? 0 : 1);
                },
                testing::ExitedWithCode(0), "")
                << row.what;
    }
}

}  // namespace
}  // namespace zstats
