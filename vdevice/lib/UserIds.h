#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace zstats::vdevice {

/** The id of a platform user or group by name or number; no value for an unknown name. */
std::optional<uid_t> parseUserId(const std::string& text);

/** The same by the name of the platform's constant: "AID_SYSTEM" is "system". */
std::optional<uid_t> userIdOfAid(const std::string& aid);

}  // namespace zstats::vdevice
