#pragma once

#include <time.h>

#include <cstdint>

namespace zstats::vdevice {

inline constexpr int64_t kNanosPerMilli = 1'000'000;
inline constexpr int64_t kMillisPerSecond = 1000;

/** Time since boot in ns, sleep included. */
inline int64_t elapsedNanos() {
    timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return now.tv_sec * kMillisPerSecond * kNanosPerMilli + now.tv_nsec;
}

}  // namespace zstats::vdevice
