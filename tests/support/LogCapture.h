#pragma once

#include <android/log.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "daemon/base/Log.h"

namespace zstats {

using Lines = std::vector<std::string>;

inline Lines operator+(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

/** A log line as the program wrote it; `text` without a device's additions. */
struct LogLine {
    int priority;
    std::string tag;
    std::string text;
};

/**
 * Collects the log lines of all threads and priorities while the object exists. Other lines are
 * discarded. Any thread.
 */
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /** The lines of this tag since the last take, as "W text", in order. Discards all lines. */
    Lines take(const std::string& tag = "zstats_pullerd");

    /** Waits until `count` lines of this text have been logged since the last take. */
    void waitFor(const std::string& text, size_t count = 1) const;

    /** Runs `action` on the logging thread, right after the next line of this text. */
    void whenLogged(const std::string& text, std::function<void()> action);

    void clear();

  private:
    static void onLine(const __android_log_message* line);

    void add(LogLine line);
    std::function<void()> actionFor(const std::string& text);

    mutable std::mutex mLock;  // guards the members below
    mutable std::condition_variable mAdded;
    std::vector<LogLine> mLines;
    std::string mAwaited;
    std::function<void()> mAction;
};

/**
 * Those of `lines` that are written at `level`. A gate may follow the letter of a line: "W0 text"
 * is "W text" at level 0 and above.
 */
Lines atLevel(int32_t level, const Lines& lines);

/** Expects `run` to write these lines, with these gates, at the levels 0, 2 and 1. */
template <typename Run>
void expectLines(LogCapture& log, const Lines& lines, const Run& run) {
    for (const int32_t level : {0, 2, 1}) {
        gLogLevel = level;
        run();
        EXPECT_EQ(log.take(), atLevel(level, lines)) << "level " << level;
    }
}

}  // namespace zstats
