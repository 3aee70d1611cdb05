#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace zstats::vdevice {

/** The id of a user or group of the platform by its name or number; nothing for an unknown name. */
std::optional<uid_t> parseUserId(const std::string& text);

/** The same by the name that the platform's sources use: "AID_SYSTEM" is "system". */
std::optional<uid_t> userIdOfAid(const std::string& aid);

}  // namespace zstats::vdevice
