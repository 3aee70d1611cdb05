#pragma once

#include <android/log.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace zstats {

/** One log line as the program handed it to the log; `text` without what a device adds to it. */
struct LogLine {
    int priority;
    std::string tag;
    std::string text;
};

/**
 * Collects the log lines of all threads, of every priority, for the lifetime of the object. Lines
 * that no capture collects are not shown. Any thread.
 */
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /** The lines of this tag since the last take, as "W text", in order; all lines are forgotten. */
    std::vector<std::string> take(const std::string& tag = "zstats_pullerd");

    /** Returns once `count` lines of this text have been logged since the last take. */
    void waitFor(const std::string& text, size_t count = 1) const;

    /** Runs `action` on the logging thread, right after the next line of this text. */
    void whenLogged(const std::string& text, std::function<void()> action);

    void clear();

  private:
    static void onLine(const __android_log_message* line);

    void add(LogLine line);
    std::function<void()> actionFor(const std::string& text);

    mutable std::mutex mLock;  // guards all below
    mutable std::condition_variable mAdded;
    std::vector<LogLine> mLines;
    std::string mAwaited;
    std::function<void()> mAction;
};

}  // namespace zstats
