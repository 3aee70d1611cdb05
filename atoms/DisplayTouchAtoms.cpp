#include "atoms/DisplayTouchAtoms.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

#include "atoms/AtomEvent.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Log.h"
#include "daemon/base/Numbers.h"
#include "daemon/base/SystemHelpers.h"

namespace zstats {
namespace {

/** A panel that is off keeps a level of 1. */
constexpr int32_t kHighestOffLevel = 1;

/** The number at the start of `text`'s first word: digits without a sign that fit an int. */
std::optional<int32_t> leadingNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.empty() || text[0] < '0' || text[0] > '9') return std::nullopt;
    int32_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc()) return std::nullopt;
    return number;
}

}  // namespace

void appendPanels(const std::vector<int32_t>& levels, const char* handler, int32_t atomTag,
                  AStatsEventList* data, int32_t (*toField)(int32_t level)) {
    if (levels.size() >= 2) {
        appendEvent(data, atomTag, toField(levels[0]), toField(levels[1]));
    } else {
        ZLOG_AT(2, DEBUG, "%s getScreenBrightness failed", handler);
    }
}

std::vector<int32_t> ZStatsPullAtomCallback::getScreenPanelBacklight() {
    const bool qcom = isQcomPlatform();
    std::vector<int32_t> levels;
    for (const char* key : {qcom ? "panel0_brightness_level_qcom" : "panel0_brightness_level_mtk",
                            qcom ? "panel1_brightness_level_qcom" : "panel1_brightness_level_mtk"}) {
        levels.push_back(leadingInt32(getContentByHandleKey(key)));
    }
    return levels;
}

void ZStatsPullAtomCallback::handleScreenState(int32_t atomTag, AStatsEventList* data) {
    appendPanels(getScreenPanelBacklight(), __func__, atomTag, data,
                 [](int32_t level) { return int32_t{level > kHighestOffLevel}; });
}

void ZStatsPullAtomCallback::handleScreenPanelBacklight(int32_t atomTag, AStatsEventList* data) {
    appendPanels(getScreenPanelBacklight(), __func__, atomTag, data,
                 [](int32_t level) { return level; });
}

void ZStatsPullAtomCallback::handleTouchRefreshRateLevel(int32_t atomTag, AStatsEventList* data) {
    const android::sp<INordaTouch> touch = getTouchService(mTouchService);
    if (touch == nullptr) {
        ZLOG_AT(0, WARN, "%s getService failed", __func__);
        return;
    }
    if (const auto level = leadingNumber(readRefreshRateNode(*touch))) {
        appendEvent(data, atomTag, *level);
    } else {
        ZLOG_AT(2, DEBUG, "%s parse touchReadNodeFile failed", __func__);
    }
}

void ZStatsPullAtomCallback::handleDisplayDeviceInformation(int32_t /*atomTag*/,
                                                            AStatsEventList* /*data*/) {
    // This atom never has an event. The node is read only for the log lines.
    static_cast<void>(getContentByHandleKey("devinfo_lcd"));
}

void ZStatsPullAtomCallback::handleDisplayRGBHistogram(int32_t /*atomTag*/,
                                                       AStatsEventList* /*data*/) {}

}  // namespace zstats
