#include "sources/TouchClient.h"

#include <utils/String16.h>
#include <utils/String8.h>

#include <cstdint>

#include "sources/ServiceLookup.h"
#include "sources/ServiceWire.h"

namespace zstats {

android::sp<INordaTouch> getTouchService(AtomicSp<INordaTouch>& cache) {
    android::sp<INordaTouch> touch = cache.load();
    if (touch != nullptr) return touch;
    touch = INordaTouch::asInterface(lookUpService(kTouchService).binder);
    cache.store(touch);
    return touch;
}

std::string readRefreshRateNode(INordaTouch& touch) {
    android::String16 text;
    // The status is not checked: a failed call leaves the text empty.
    static_cast<void>(touch.touchReadNodeFile(kTouchDevice, kRefreshRateNode, &text));
    return android::String8(text).c_str();
}

}  // namespace zstats
