#pragma once

#include <cstddef>
#include <cstdint>

#include "daemon/ZStatsPullAtomCallback.h"

namespace zstats {

/** A pulled atom and the handler that answers it. */
struct AtomEntry {
    int32_t tag;
    void (ZStatsPullAtomCallback::*handler)(int32_t atomTag, AStatsEventList* data);
};

/**
 * Every pulled atom, in the order of registration. The handler table and the registrations are made
 * from it. The build compares it with proto/zstats_atoms.proto (tools/check-atoms).
 */
inline constexpr AtomEntry kAtomTable[] = {
        {150005, &ZStatsPullAtomCallback::handleBatteryLevel},
        {150006, &ZStatsPullAtomCallback::handleBatteryDod},
        {150007, &ZStatsPullAtomCallback::handleChargeState},
        {150008, &ZStatsPullAtomCallback::handleBatteryHealth},
        {150009, &ZStatsPullAtomCallback::handleBatteryCycleCount},
        {150010, &ZStatsPullAtomCallback::handleBatteryVoltageNow},
        {150011, &ZStatsPullAtomCallback::handleBatteryCurrentNow},
        {150013, &ZStatsPullAtomCallback::handleDdrLpmStats},
        {150014, &ZStatsPullAtomCallback::handleDisplayRGBHistogram},
        {150018, &ZStatsPullAtomCallback::handleCpuLeakageInformation},
        {150015, &ZStatsPullAtomCallback::handleDisplayDeviceInformation},
        {150112, &ZStatsPullAtomCallback::handleAudioPAPower},
        {150022, &ZStatsPullAtomCallback::handleBatteryFullChargedCapacity},
        {150023, &ZStatsPullAtomCallback::handleUsbInputCurrentNow},
        {150024, &ZStatsPullAtomCallback::handleUsbInputVoltageNow},
        {150025, &ZStatsPullAtomCallback::handleBatteryPassedChg},
        {150026, &ZStatsPullAtomCallback::handleBatteryPchgResetCount},
        {150029, &ZStatsPullAtomCallback::handleGpuFreqTimeInfo},
        {150027, &ZStatsPullAtomCallback::handleDdrFreqTimeInformation},
        {150028, &ZStatsPullAtomCallback::handleUfsTimeInformation},
        {150113, &ZStatsPullAtomCallback::handleAllocstallUxInformation},
        {150030, &ZStatsPullAtomCallback::handleBatteryTemperature},
        {150031, &ZStatsPullAtomCallback::handleCpuTemperature},
        {150020, &ZStatsPullAtomCallback::handleActiveWakeUpSource},
        {150121, &ZStatsPullAtomCallback::handleCpuIdle},
        {150123, &ZStatsPullAtomCallback::handleRemainingBatteryPower},
        {150124, &ZStatsPullAtomCallback::handleChargeStateFromSysfs},
        {150125, &ZStatsPullAtomCallback::handleScreenState},
        {150126, &ZStatsPullAtomCallback::handleThermalStatus},
        {150127, &ZStatsPullAtomCallback::handleAmbientTemperature},
        {150128, &ZStatsPullAtomCallback::handleBoardTemperature},
        {150129, &ZStatsPullAtomCallback::handleShellTemperature},
        {150131, &ZStatsPullAtomCallback::handleTouchRefreshRateLevel},
        {150133, &ZStatsPullAtomCallback::handleScreenPanelBacklight},
        {150135, &ZStatsPullAtomCallback::handleUfsTotalReadWriteSize},
        {150136, &ZStatsPullAtomCallback::handleUahDataset},
        {150138, &ZStatsPullAtomCallback::handleBatteryCapacityLossRatio},
        {150141, &ZStatsPullAtomCallback::handlePerfSchedinfo},
        {150167, &ZStatsPullAtomCallback::handleGaugeCarC},
};

inline constexpr size_t kAtomCount = sizeof(kAtomTable) / sizeof(kAtomTable[0]);

/** True when no tag occurs twice in the table. */
constexpr bool atomTagsAreUnique() {
    for (size_t i = 0; i < kAtomCount; ++i) {
        for (size_t j = i + 1; j < kAtomCount; ++j) {
            if (kAtomTable[i].tag == kAtomTable[j].tag) return false;
        }
    }
    return true;
}
static_assert(atomTagsAreUnique());

}  // namespace zstats
