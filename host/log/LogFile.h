#pragma once

#include <android/log.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

namespace zstats {

/**
 * A log file that several processes append to, in logcat's format: "MM-DD HH:MM:SS.mmm uid pid tid
 * P tag: text". Any thread; does not allocate memory.
 *
 * Header-only, so that programs need not link the rest of host/.
 */
class LogFile {
  public:
    /** The file has to exist before the first line; it is never created. */
    explicit constexpr LogFile(const char* path) : mPath(path) {}
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /**
     * Appends each line of `text`, cut after 4000 bytes. A line end at the end of the text adds no
     * empty line. False, without effect, while the file does not exist.
     */
    bool write(int priority, const char* tag, const char* text) {
        const int fd = descriptor();
        if (fd < 0) return false;
        char line[kMaxHeadBytes + kMaxTextBytes + 1];
        const size_t head = formatHead(line, priority, tag);
        do {
            const char* end = strchrnul(text, '\n');
            const size_t length = std::min(static_cast<size_t>(end - text), kMaxTextBytes);
            memcpy(line + head, text, length);
            line[head + length] = '\n';
            // One write for each line, so that lines of several processes do not mix.
            (void)!TEMP_FAILURE_RETRY(::write(fd, line, head + length + 1));
            text = *end == '\0' ? end : end + 1;
        } while (*text != '\0');
        return true;
    }

  private:
    static constexpr size_t kMaxHeadBytes = 256;
    static constexpr size_t kMaxTextBytes = 4000;

    /** Opened at the first line after the file exists, then kept open. */
    int descriptor() {
        int fd = mFd.load(std::memory_order_acquire);
        if (fd >= 0) return fd;
        const int opened = open(mPath, O_WRONLY | O_APPEND | O_CLOEXEC);
        if (opened < 0) return -1;
        if (mFd.compare_exchange_strong(fd, opened, std::memory_order_acq_rel)) return opened;
        close(opened);
        return fd;
    }

    static size_t formatHead(char* out, int priority, const char* tag) {
        static constexpr char kLetters[] = "VDIWEF";
        const bool known = priority >= ANDROID_LOG_VERBOSE && priority <= ANDROID_LOG_FATAL;
        timespec now = {};
        clock_gettime(CLOCK_REALTIME, &now);
        tm local = {};
        localtime_r(&now.tv_sec, &local);
        const int length = snprintf(
                out, kMaxHeadBytes,
                "%02d-%02d %02d:%02d:%02d.%03ld %5u %5d %5ld %c %.120s: ", local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, now.tv_nsec / 1000000,
                getuid(), getpid(), syscall(SYS_gettid),
                known ? kLetters[priority - ANDROID_LOG_VERBOSE] : '?', tag != nullptr ? tag : "");
        return std::min(static_cast<size_t>(std::max(length, 0)), kMaxHeadBytes - 1);
    }

    const char* const mPath;
    std::atomic<int> mFd{-1};
};

}  // namespace zstats
