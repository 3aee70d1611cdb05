#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace zstats::vdevice {

/** What the thermal service answers: a transport status, or the int32 words of its reply. */
struct CaldaReply {
    int32_t transport = 0;
    std::vector<int32_t> words;
};

/**
 * The answer to `code` by a profile's `calda` text: `status=N`, `ambient=N` (degrees),
 * `vector=W W ...` (the words of the reply to code 21), `transport_error=CODE` (all calls),
 * `exception=N` (code 4). Nothing when the text does not tell, or for other codes: such a call is
 * unknown to the service.
 */
std::optional<CaldaReply> caldaReply(std::string_view text, uint32_t code);

}  // namespace zstats::vdevice
