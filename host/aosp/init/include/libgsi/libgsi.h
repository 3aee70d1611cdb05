#pragma once

#include <string>

#include "unexpected.h"

// Dynamic system updates, which boot a downloaded system image. There are none here.

namespace android::gsi {

inline constexpr char kGsiBootedProp[] = "ro.gsid.image_running";
inline constexpr char kGsiInstalledProp[] = "gsid.image_installed";
inline constexpr char kDsuSlotProp[] = "ro.gsid.dsu_slot";

inline bool IsGsiRunning() {
    return false;
}

inline bool IsGsiInstalled() {
    return false;
}

STUB(inline bool GetActiveDsu(std::string*))

}  // namespace android::gsi
