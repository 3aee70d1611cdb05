#pragma once

#include "unexpected.h"

// Verified boot. Init asks only if the boot loader requests a debuggable system.

namespace android::fs_mgr {

struct AvbHandle {
    static bool IsDeviceUnlocked() { unexpected("AvbHandle::IsDeviceUnlocked"); }
};

}  // namespace android::fs_mgr
