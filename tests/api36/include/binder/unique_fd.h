#pragma once

#include <android-base/unique_fd.h>

namespace android::binder {

using android::base::unique_fd;

}  // namespace android::binder
