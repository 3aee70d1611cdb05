#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

// Sends the log lines of a program of the virtual device to the device's one log file, in the form
// that logcat prints. Linking this object is all that a program has to do.

namespace zstats {
namespace {

constexpr char kLogPath[] = "/dev/log/main";
/** As much of a line as the platform's log keeps. */
constexpr size_t kMaxTextBytes = 4000;
constexpr char kPriorityLetters[] = "??VDIWEFS";

std::atomic<int> gLogFd{-1};

/** The log file, opened at the first line that finds it; -1 if it does not exist (yet). */
int logFd() {
    int fd = gLogFd.load(std::memory_order_acquire);
    if (fd >= 0) return fd;
    const int opened = open(kLogPath, O_WRONLY | O_APPEND | O_CLOEXEC);
    if (opened < 0) return -1;
    if (gLogFd.compare_exchange_strong(fd, opened, std::memory_order_acq_rel)) return opened;
    close(opened);
    return fd;
}

char priorityLetter(int priority) {
    const bool known = priority >= ANDROID_LOG_VERBOSE && priority <= ANDROID_LOG_FATAL;
    return known ? kPriorityLetters[priority] : '?';
}

/** Writes what precedes every line; returns its length. */
size_t formatHead(char* out, size_t size, int priority, const char* tag) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local = {};
    localtime_r(&now.tv_sec, &local);
    const int length = snprintf(
            out, size, "%02d-%02d %02d:%02d:%02d.%03ld %5u %5d %5ld %c %.120s: ", local.tm_mon + 1,
            local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, now.tv_nsec / 1000000,
            getuid(), getpid(), syscall(SYS_gettid), priorityLetter(priority),
            tag != nullptr ? tag : "");
    return std::min(static_cast<size_t>(std::max(length, 0)), size - 1);
}

/** One write a line: with O_APPEND, lines of several processes never mix. */
void writeLines(int fd, int priority, const char* tag, const char* text) {
    char line[256 + kMaxTextBytes + 1];
    const size_t head = formatHead(line, 256, priority, tag);
    do {
        const char* end = strchrnul(text, '\n');
        const size_t length = std::min(static_cast<size_t>(end - text), kMaxTextBytes);
        memcpy(line + head, text, length);
        line[head + length] = '\n';
        (void)!TEMP_FAILURE_RETRY(::write(fd, line, head + length + 1));
        text = *end == '\0' ? end : end + 1;
    } while (*text != '\0');
}

void deviceLogger(const __android_logger_data* data, const char* message) {
    const int fd = logFd();
    if (fd < 0) {
        __android_log_stderr_logger(data, message);
    } else {
        writeLines(fd, data->priority, data->tag, message);
    }
}

/** Takes effect before main, and so before the first line of the program itself. */
const bool gInstalled = [] {
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(deviceLogger);
    return true;
}();

}  // namespace
}  // namespace zstats
