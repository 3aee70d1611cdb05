#include <cstdlib>

#include "atoms/AtomEvent.h"
#include "atoms/ChargerRead.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Arithmetic.h"
#include "daemon/base/Log.h"
#include "daemon/base/Numbers.h"

namespace zstats {
namespace {

/** From tenths of a degree: (t + 5) / 10, below zero (t + 4) / 10, truncated toward zero. */
int32_t wholeDegrees(int32_t tenths) {
    const int32_t sign = tenths < 0 ? -1 : 0;
    return wrap32(int64_t{tenths} + sign + 5) / 10;
}

/** The loss of the typical capacity in percent, truncated. `typical` is not 0. */
int32_t lossPercent(int32_t fullCharged, int32_t typical) {
    const int32_t hundredfold = wrap32(int64_t{fullCharged} * 100);
    return wrap32(100 - int64_t{hundredfold} / typical);
}

}  // namespace

// The line numbers in the warnings are fixed parts of their texts.

void ZStatsPullAtomCallback::handleBatteryLevel(int32_t atomTag, AStatsEventList* data) {
    const int32_t real = getValueByHandleKey("battery_level");
    const int32_t ui = getValueByHandleKey("battery_ui_level");
    const int32_t difference = wrap32(int64_t{real} - ui);
    appendEvent(data, atomTag, real, ui, difference, wrap32(std::abs(int64_t{difference})));
    // Ungated, unlike the other debug lines.
    ZLOG(DEBUG, "PullAtomCallback %s handler for realLevel = %d, uiLevel = %d", __func__, real, ui);
}

void ZStatsPullAtomCallback::handleBatteryDod(int32_t atomTag, AStatsEventList* data) {
    appendEvent(data, atomTag, getValueByHandleKey("battery_dod"));
}

void ZStatsPullAtomCallback::handleGaugeCarC(int32_t atomTag, AStatsEventList* data) {
    appendEvent(data, atomTag, getValueByHandleKey("gauge_car_c"));
}

void ZStatsPullAtomCallback::handleBatteryHealth(int32_t atomTag, AStatsEventList* data) {
    const auto charger = getIChargeService();
    if (charger == nullptr) return warnWithoutCharger(__func__, 528);
    if (!appendChargerValue(*charger, &ICharger::getUIsohValue, atomTag, data)) {
        ZLOG_AT(0, WARN, "%s line %d, getUIsohValue failed", __func__, 534);
    }
}

void ZStatsPullAtomCallback::handleBatteryCycleCount(int32_t atomTag, AStatsEventList* data) {
    const auto charger = getIChargeService();
    if (charger == nullptr) return warnWithoutCharger(__func__, 547);
    if (!appendChargerValue(*charger, &ICharger::getPsyBatteryCC, atomTag, data)) {
        ZLOG_AT(0, WARN, "%s line %d, getPsyBatteryCC failed", __func__, 553);
    }
}

void ZStatsPullAtomCallback::handleBatteryVoltageNow(int32_t atomTag, AStatsEventList* data) {
    const auto charger = getIChargeService();
    if (charger == nullptr) return warnWithoutCharger(__func__, 566);
    if (!appendChargerValue(*charger, &ICharger::getBatteryVoltageNow, atomTag, data)) {
        ZLOG_AT(0, WARN, "%s line %d, getBatteryVoltageNow failed", __func__, 572);
    }
}

void ZStatsPullAtomCallback::handleBatteryCurrentNow(int32_t atomTag, AStatsEventList* data) {
    const auto charger = getIChargeService();
    if (charger == nullptr) return warnWithoutCharger(__func__, 585);
    if (!appendChargerValue(*charger, &ICharger::getPsyBatteryCurrentNow, atomTag, data)) {
        ZLOG_AT(0, WARN, "%s line %d, getPsyBatteryCurrentNow failed", __func__, 591);
    }
}

void ZStatsPullAtomCallback::handleBatteryFullChargedCapacity(int32_t atomTag,
                                                              AStatsEventList* data) {
    const auto charger = getIChargeService();
    if (charger == nullptr) return warnWithoutCharger(__func__, 604);
    if (!appendChargerValue(*charger, &ICharger::getPsyBatteryFcc, atomTag, data)) {
        ZLOG_AT(0, WARN, "%s line %d, getPsyBatteryFcc failed", __func__, 610);
    }
}

void ZStatsPullAtomCallback::handleBatteryPassedChg(int32_t atomTag, AStatsEventList* data) {
    const auto charger = getIChargeService();
    if (charger == nullptr) return warnWithoutCharger(__func__, 662);
    if (!appendChargerValue(*charger, &ICharger::getPsyBatteryPchg, atomTag, data)) {
        ZLOG_AT(0, WARN, "%s line %d, getPsyBatteryPchg failed", __func__, 668);
    }
}

void ZStatsPullAtomCallback::handleBatteryPchgResetCount(int32_t atomTag, AStatsEventList* data) {
    const auto charger = getIChargeService();
    if (charger == nullptr) return warnWithoutCharger(__func__, 681);
    if (!appendChargerValue(*charger, &ICharger::getPsyBatteryPchgResetCount, atomTag, data)) {
        ZLOG_AT(0, WARN, "%s line %d, getPsyBatteryPchgResetCount failed", __func__, 687);
    }
}

void ZStatsPullAtomCallback::handleBatteryTemperature(int32_t atomTag, AStatsEventList* data) {
    const auto charger = getIChargeService();
    if (charger == nullptr) return warnWithoutCharger(__func__, 921);
    int32_t tenths = 0;
    if (!charger->getPsyBatteryTemp(&tenths).isOk()) {
        ZLOG_AT(0, WARN, "%s line %d, getPsyBatteryTemp failed", __func__, 927);
        return;
    }
    appendEvent(data, atomTag, wholeDegrees(tenths), wrap32(int64_t{tenths} * 100));
}

void ZStatsPullAtomCallback::handleRemainingBatteryPower(int32_t atomTag, AStatsEventList* data) {
    const std::string content = getContentByHandleKey("remaining_battery_power");
    if (!content.empty()) appendEvent(data, atomTag, leadingInt32(content));
}

void ZStatsPullAtomCallback::handleBatteryCapacityLossRatio(int32_t atomTag, AStatsEventList* data) {
    const auto charger = getIChargeService();
    if (charger == nullptr) return warnWithoutCharger(__func__, 1378);
    int32_t fullCharged = 0;
    if (!charger->getPsyBatteryFcc(&fullCharged).isOk()) {
        ZLOG_AT(0, WARN, "%s line %d, getPsyBatteryFcc failed", __func__, 1384);
        return;
    }
    const std::string content = getContentByHandleKey("battery_typical_capacity");
    if (content.empty()) {
        ZLOG_AT(0, WARN, "%s line %d, String batteryTypicalCapacity is empty", __func__, 1390);
        return;
    }
    const int32_t typical = leadingInt32(content);
    if (typical == 0) {
        ZLOG_AT(0, WARN, "%s line %d, batteryTypicalCapacity = 0", __func__, 1395);
        return;
    }
    appendEvent(data, atomTag, typical, fullCharged, lossPercent(fullCharged, typical));
}

}  // namespace zstats
