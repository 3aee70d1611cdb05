#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "cli/lib/device/DeviceSources.h"

namespace zstats::vdevice {

using cli::CaldaReply;

/**
 * The answer to `code` by a profile's `calda` text: `status=N`, `ambient=N` (degrees),
 * `vector=W W ...` (the words of the reply to code 21), `transport_error=CODE` (all calls),
 * `exception=N` (code 4). Nothing when the text does not tell, or for other codes: such a call is
 * unknown to the service.
 */
std::optional<CaldaReply> caldaReply(std::string_view text, uint32_t code);

}  // namespace zstats::vdevice
