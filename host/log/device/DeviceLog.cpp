#include <android/log.h>

#include "host/log/LogFile.h"

// Sends the log lines of a program of the virtual device to the device's log file. Linking this
// object is enough.

namespace zstats {
namespace {

LogFile gLogFile("/dev/log/main");

void deviceLogger(const __android_log_message* line) {
    // Outside the device, or before the file exists, liblog's default applies.
    if (!gLogFile.write(line->priority, line->tag, line->message)) {
        __android_log_stderr_logger(line);
    }
}

/** Set before main, and so before the program's first line. */
[[maybe_unused]] const bool gInstalled = [] {
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(deviceLogger);
    return true;
}();

}  // namespace
}  // namespace zstats
