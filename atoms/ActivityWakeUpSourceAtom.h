#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <string>
#include <vector>

namespace zstats {

/** Statistics of one active kernel wake-up source. Unreadable fields stay 0 or empty. */
struct WakeLockInfo {
    std::string name;
    int64_t activeCount = 0;
    int64_t lastChange = 0;  // ms since boot
    int64_t maxTime = 0;     // ms
    int64_t totalTime = 0;   // ms
    bool isActive = false;
    int64_t activeTime = 0;  // ms since it became active
    bool isKernelWakelock = true;
    int64_t eventCount = 0;
    int64_t expireCount = 0;
    int64_t preventSuspendTime = 0;  // ms
    int64_t wakeupCount = 0;
};

/**
 * Appends the active wake-up sources, in directory order; none when the kernel's directory cannot
 * be opened. An inactive source costs one file read and no allocation. Any thread.
 */
void getWakeLockStats(std::vector<WakeLockInfo>* out);

/** getWakeLockStats for `directory`, which ends with a slash. */
void getWakeLockStatsAt(const char* directory, std::vector<WakeLockInfo>* out);

/** Appends an event for each record with an active time of at least 1 ms, in order. */
void appendWakeLockEvents(const std::vector<WakeLockInfo>& records, int32_t atomTag,
                          AStatsEventList* data);

}  // namespace zstats
