#pragma once

#include <private/android_filesystem_config.h>
#include <sys/types.h>

namespace zstats {

/** True for root (0) and system (1000), the callers that both of the daemon's services accept. */
constexpr bool isRootOrSystem(uid_t uid) {
    return uid == AID_ROOT || uid == AID_SYSTEM;
}

}  // namespace zstats
