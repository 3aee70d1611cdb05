#pragma once

#include "unexpected.h"

// A phone verifies what it boots; init asks only where the boot loader wants a debuggable system.

namespace android::fs_mgr {

struct AvbHandle {
    static bool IsDeviceUnlocked() { unexpected("AvbHandle::IsDeviceUnlocked"); }
};

}  // namespace android::fs_mgr
