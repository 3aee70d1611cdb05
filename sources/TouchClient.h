#pragma once

#include <vendor/norda/hardware/touch/INordaTouch.h>

#include <string>

#include "daemon/base/AtomicPointer.h"

namespace zstats {

using INordaTouch = ::vendor::norda::hardware::touch::INordaTouch;

/**
 * The touch service: the proxy in `cache`, or one that is looked up now and put there; null when
 * the service is absent. A cached proxy is never given up, also when its service dies. Any thread;
 * of two look-ups at the same time the later one stays in the cache.
 */
android::sp<INordaTouch> getTouchService(AtomicSp<INordaTouch>& cache);

/** Text of the node with the refresh-rate level, as UTF-8; empty when the call fails. */
std::string readRefreshRateNode(INordaTouch& touch);

}  // namespace zstats
