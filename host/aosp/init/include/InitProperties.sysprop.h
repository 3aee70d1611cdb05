#pragma once

#include <android-base/properties.h>

#include <optional>

// Output of the platform's generator for InitProperties.sysprop: typed access to two properties.

namespace android::sysprop::InitProperties {

inline std::optional<bool> userspace_reboot_in_progress() {
    return base::GetBoolProperty("sys.init.userspace_reboot.in_progress", false);
}

inline bool userspace_reboot_in_progress(bool value) {
    return base::SetProperty("sys.init.userspace_reboot.in_progress", value ? "1" : "0");
}

inline std::optional<bool> is_userspace_reboot_supported() {
    return base::GetBoolProperty("init.userspace_reboot.is_supported", false);
}

}  // namespace android::sysprop::InitProperties
