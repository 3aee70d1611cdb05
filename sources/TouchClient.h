#pragma once

#include <vendor/norda/hardware/touch/INordaTouch.h>

#include <string>

#include "daemon/base/AtomicPointer.h"

namespace zstats {

using INordaTouch = ::vendor::norda::hardware::touch::INordaTouch;

/**
 * The touch service: the proxy in `cache`, or a new one, which is stored there; null when the
 * service is absent. A cached proxy is kept when its service dies. Any thread; of two concurrent
 * look-ups the later one stays in the cache.
 */
android::sp<INordaTouch> getTouchService(AtomicSp<INordaTouch>& cache);

/** Text of the node with the refresh-rate level, as UTF-8; empty when the call fails. */
std::string readRefreshRateNode(INordaTouch& touch);

}  // namespace zstats
