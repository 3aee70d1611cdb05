#pragma once

#include <android/os/IThermalService.h>

#include <cstdint>
#include <vector>

#include "daemon/base/AtomicPointer.h"

namespace zstats {

/**
 * The platform's thermal service: the proxy in `cache`, or a new one, which is stored there; null,
 * with an error line, when the service is absent. A cached proxy is kept when its service dies. Any
 * thread.
 */
android::sp<android::os::IThermalService> getThermalService(
        AtomicSp<android::os::IThermalService>& cache);

/** The CPU temperatures in degrees Celsius, in the service's order; none when the call fails. */
std::vector<float> readCpuTemperatures(android::os::IThermalService& service);

}  // namespace zstats
