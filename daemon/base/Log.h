#pragma once

#include <android/log.h>

#include <atomic>
#include <cstdint>

namespace zstats {

/** Log tag of every line of the daemon, except those of the in-process command client. */
inline constexpr char kLogTag[] = "zstats_pullerd";

/**
 * Process-wide verbosity: 0 WARN, 1 INFO, 2 and above DEBUG; never negative. Initially 1; only the
 * dump option "--loglevel" changes it. Accesses are relaxed, on any thread: a stale read affects
 * only which optional lines are written.
 */
extern std::atomic<int32_t> gLogLevel;

/** True when lines with this gate are written. A line's gate is independent of its priority. */
inline bool logGateOpen(int32_t gate) {
    return gLogLevel.load(std::memory_order_relaxed) >= gate;
}

}  // namespace zstats

/** Writes a line at every level: ZLOG(WARN, "format", ...). */
#define ZLOG(priority, ...) \
    static_cast<void>(__android_log_print(ANDROID_LOG_##priority, ::zstats::kLogTag, __VA_ARGS__))

/** Writes a line when gLogLevel is at least `gate`: ZLOG_AT(2, DEBUG, "format", ...). */
#define ZLOG_AT(gate, priority, ...)       \
    do {                                   \
        if (::zstats::logGateOpen(gate)) { \
            ZLOG(priority, __VA_ARGS__);   \
        }                                  \
    } while (false)
