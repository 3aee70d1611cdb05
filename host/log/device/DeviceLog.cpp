#include <android/log.h>

#include "host/log/LogFile.h"

// Sends the log lines of a program of the virtual device to the device's one log file. Linking this
// object is all that a program has to do.

namespace zstats {
namespace {

LogFile gLogFile("/dev/log/main");

void deviceLogger(const __android_log_message* line) {
    // Outside the device, or before init has made the file, lines go where liblog sends them.
    if (!gLogFile.write(line->priority, line->tag, line->message)) {
        __android_log_stderr_logger(line);
    }
}

/** Takes effect before main, and so before the first line of the program itself. */
[[maybe_unused]] const bool gInstalled = [] {
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(deviceLogger);
    return true;
}();

}  // namespace
}  // namespace zstats
