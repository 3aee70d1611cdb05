#pragma once

namespace zstats {

/**
 * Whether this build also opens the kernel channel of the scheduler's core control: trial and
 * engineering builds do, release builds do not. Reads the system properties at each call.
 */
bool opensCoreControlChannel();

}  // namespace zstats
