#pragma once

#include <optional>
#include <string>

namespace zstats {

/**
 * The reply of the audio service's power-amplifier monitor; no value, with an error line, when the
 * service is absent or the call fails. Looks the service up at each call. Any thread.
 */
std::optional<std::string> readAmplifierMonitor();

}  // namespace zstats
