#pragma once

#include <string>

namespace zstats::vdevice {

/**
 * Keeps init from starting services that the profile lists as absent or has no file for. Each of
 * them gets an rc file that repeats its section with "override" and "disabled", and can be started
 * by `start`. Returns an error text, empty on success.
 */
std::string disableAbsentServices();

}  // namespace zstats::vdevice
