#pragma once

namespace zstats::vdevice {

/**
 * Asks the system server's companion service whether the caller of the current transaction holds a
 * permission. Waits up to 5 s for that service; false without it.
 */
bool companionGrants(const char* permission);

}  // namespace zstats::vdevice
