#pragma once

namespace zstats::vdevice {

/**
 * True when the system server's companion service grants the caller of the current transaction the
 * permission. Waits up to 5 s for that service; false without it.
 */
bool companionGrants(const char* permission);

}  // namespace zstats::vdevice
