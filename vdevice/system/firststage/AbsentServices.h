#pragma once

#include <string>

namespace zstats::vdevice {

/**
 * Keeps init from starting what the profile lists as absent or has no file for: each such service
 * gets an rc file of the profile's, with its own section and "override" and "disabled" in it, and
 * waits for `start`. Returns what went wrong, empty if nothing.
 */
std::string disableAbsentServices();

}  // namespace zstats::vdevice
