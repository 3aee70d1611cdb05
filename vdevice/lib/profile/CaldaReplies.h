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
 * `exception=N` (code 4). No value when the text has no such line, or for other codes: the service
 * then treats the call as unknown.
 */
std::optional<CaldaReply> caldaReply(std::string_view text, uint32_t code);

}  // namespace zstats::vdevice
