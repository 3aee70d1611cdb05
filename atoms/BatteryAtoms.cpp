#include <cstdlib>

#include "atoms/AtomEvent.h"
#include "atoms/ChargerRead.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Arithmetic.h"
#include "daemon/base/Log.h"

namespace zstats {
namespace {

/** Answers an atom with one field, the result of a charger call. */
void pullChargerValue(const std::shared_ptr<ICharger>& charger, const ChargerWarnings& warnings,
                      ChargerGetter getter, int32_t atomTag, AStatsEventList* data) {
    if (const auto values = readChargerValues(charger, warnings, {getter})) {
        appendEvent(data, atomTag, values->front());
    }
}

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
    pullChargerValue(getIChargeService(), {__func__, 528, 534, "%s line %d, getUIsohValue failed"},
                     &ICharger::getUIsohValue, atomTag, data);
}

void ZStatsPullAtomCallback::handleBatteryCycleCount(int32_t atomTag, AStatsEventList* data) {
    pullChargerValue(getIChargeService(), {__func__, 547, 553, "%s line %d, getPsyBatteryCC failed"},
                     &ICharger::getPsyBatteryCC, atomTag, data);
}

void ZStatsPullAtomCallback::handleBatteryVoltageNow(int32_t atomTag, AStatsEventList* data) {
    pullChargerValue(getIChargeService(),
                     {__func__, 566, 572, "%s line %d, getBatteryVoltageNow failed"},
                     &ICharger::getBatteryVoltageNow, atomTag, data);
}

void ZStatsPullAtomCallback::handleBatteryCurrentNow(int32_t atomTag, AStatsEventList* data) {
    pullChargerValue(getIChargeService(),
                     {__func__, 585, 591, "%s line %d, getPsyBatteryCurrentNow failed"},
                     &ICharger::getPsyBatteryCurrentNow, atomTag, data);
}

void ZStatsPullAtomCallback::handleBatteryFullChargedCapacity(int32_t atomTag,
                                                              AStatsEventList* data) {
    pullChargerValue(getIChargeService(),
                     {__func__, 604, 610, "%s line %d, getPsyBatteryFcc failed"},
                     &ICharger::getPsyBatteryFcc, atomTag, data);
}

void ZStatsPullAtomCallback::handleBatteryPassedChg(int32_t atomTag, AStatsEventList* data) {
    pullChargerValue(getIChargeService(),
                     {__func__, 662, 668, "%s line %d, getPsyBatteryPchg failed"},
                     &ICharger::getPsyBatteryPchg, atomTag, data);
}

void ZStatsPullAtomCallback::handleBatteryPchgResetCount(int32_t atomTag, AStatsEventList* data) {
    pullChargerValue(getIChargeService(),
                     {__func__, 681, 687, "%s line %d, getPsyBatteryPchgResetCount failed"},
                     &ICharger::getPsyBatteryPchgResetCount, atomTag, data);
}

void ZStatsPullAtomCallback::handleBatteryTemperature(int32_t atomTag, AStatsEventList* data) {
    const auto values = readChargerValues(
            getIChargeService(), {__func__, 921, 927, "%s line %d, getPsyBatteryTemp failed"},
            {&ICharger::getPsyBatteryTemp});
    if (!values) return;
    const int32_t tenths = values->front();
    appendEvent(data, atomTag, wholeDegrees(tenths), wrap32(int64_t{tenths} * 100));
}

void ZStatsPullAtomCallback::handleRemainingBatteryPower(int32_t atomTag, AStatsEventList* data) {
    const std::string content = getContentByHandleKey("remaining_battery_power");
    if (!content.empty()) appendEvent(data, atomTag, atoi(content.c_str()));
}

void ZStatsPullAtomCallback::handleBatteryCapacityLossRatio(int32_t atomTag, AStatsEventList* data) {
    const auto values = readChargerValues(
            getIChargeService(), {__func__, 1378, 1384, "%s line %d, getPsyBatteryFcc failed"},
            {&ICharger::getPsyBatteryFcc});
    if (!values) return;
    const std::string content = getContentByHandleKey("battery_typical_capacity");
    if (content.empty()) {
        ZLOG_AT(0, WARN, "%s line %d, String batteryTypicalCapacity is empty", __func__, 1390);
        return;
    }
    const int32_t typical = atoi(content.c_str());
    if (typical == 0) {
        ZLOG_AT(0, WARN, "%s line %d, batteryTypicalCapacity = 0", __func__, 1395);
        return;
    }
    const int32_t fullCharged = values->front();
    appendEvent(data, atomTag, typical, fullCharged, lossPercent(fullCharged, typical));
}

}  // namespace zstats
