#pragma once

namespace zstats::vdevice {

/**
 * Whether the caller of the current transaction holds a permission, by the companion service of the
 * system server. Nobody holds any while that service is not there, for which this waits up to 5 s.
 */
bool companionGrants(const char* permission);

}  // namespace zstats::vdevice
