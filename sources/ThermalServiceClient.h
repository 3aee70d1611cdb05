#pragma once

#include <android/os/IThermalService.h>

#include <cstdint>
#include <vector>

#include "daemon/base/AtomicPointer.h"

namespace zstats {

/**
 * The platform's thermal service: the proxy in `cache`, or one that is looked up now and put there;
 * null, with an error line, when the service is absent. A cached proxy is never given up, also when
 * its service dies. Any thread.
 */
android::sp<android::os::IThermalService> getThermalService(
        AtomicSp<android::os::IThermalService>& cache);

/** The CPU's temperatures in degrees Celsius, in the service's order; none when the call fails. */
std::vector<float> readCpuTemperatures(android::os::IThermalService& service);

}  // namespace zstats
