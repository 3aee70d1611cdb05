#pragma once

#include <android/os/IThermalService.h>
#include <stats_pull_atom_callback.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "daemon/base/AtomicPointer.h"
#include "daemon/base/Mutex.h"
#include "readers/GpuReader.h"
#include "readers/ThermalReader.h"
#include "sources/ChargerClient.h"
#include "sources/NodeContent.h"
#include "sources/TouchClient.h"

namespace zstats {

/**
 * All atom handlers and the data sources that they share; one object for each process. The main
 * service creates and owns it, and passes its address to the pull library as cookie.
 *
 * Handlers run concurrently on binder threads, also two of the same tag. Each appends its events to
 * `data`, or none when it has no value. A handler cannot make a pull fail.
 */
class ZStatsPullAtomCallback {
  public:
    using ICharger = zstats::ICharger;
    using INordaTouch = zstats::INordaTouch;

    ZStatsPullAtomCallback() = default;
    ZStatsPullAtomCallback(const ZStatsPullAtomCallback&) = delete;
    ZStatsPullAtomCallback& operator=(const ZStatsPullAtomCallback&) = delete;

    // Battery: atoms/BatteryAtoms.cpp
    void handleBatteryLevel(int32_t atomTag, AStatsEventList* data);
    void handleBatteryDod(int32_t atomTag, AStatsEventList* data);
    void handleBatteryHealth(int32_t atomTag, AStatsEventList* data);
    void handleBatteryCycleCount(int32_t atomTag, AStatsEventList* data);
    void handleBatteryVoltageNow(int32_t atomTag, AStatsEventList* data);
    void handleBatteryCurrentNow(int32_t atomTag, AStatsEventList* data);
    void handleBatteryFullChargedCapacity(int32_t atomTag, AStatsEventList* data);
    void handleBatteryPassedChg(int32_t atomTag, AStatsEventList* data);
    void handleBatteryPchgResetCount(int32_t atomTag, AStatsEventList* data);
    void handleBatteryTemperature(int32_t atomTag, AStatsEventList* data);
    void handleRemainingBatteryPower(int32_t atomTag, AStatsEventList* data);
    void handleBatteryCapacityLossRatio(int32_t atomTag, AStatsEventList* data);
    void handleGaugeCarC(int32_t atomTag, AStatsEventList* data);

    // Charging and USB input: atoms/ChargingAtoms.cpp
    void handleChargeState(int32_t atomTag, AStatsEventList* data);
    void handleUsbInputCurrentNow(int32_t atomTag, AStatsEventList* data);
    void handleUsbInputVoltageNow(int32_t atomTag, AStatsEventList* data);
    void handleChargeStateFromSysfs(int32_t atomTag, AStatsEventList* data);

    // Display and touch: atoms/DisplayTouchAtoms.cpp
    void handleScreenState(int32_t atomTag, AStatsEventList* data);
    void handleScreenPanelBacklight(int32_t atomTag, AStatsEventList* data);
    void handleTouchRefreshRateLevel(int32_t atomTag, AStatsEventList* data);
    void handleDisplayDeviceInformation(int32_t atomTag, AStatsEventList* data);
    void handleDisplayRGBHistogram(int32_t atomTag, AStatsEventList* data);

    // GPU: atoms/GpuAtoms.cpp
    void handleGpuFreqTimeInfo(int32_t atomTag, AStatsEventList* data);

    // Temperatures: atoms/ThermalAtoms.cpp
    void handleCpuTemperature(int32_t atomTag, AStatsEventList* data);
    void handleThermalStatus(int32_t atomTag, AStatsEventList* data);
    void handleAmbientTemperature(int32_t atomTag, AStatsEventList* data);
    void handleBoardTemperature(int32_t atomTag, AStatsEventList* data);
    void handleShellTemperature(int32_t atomTag, AStatsEventList* data);

    // Memory and storage: atoms/MemoryStorageAtoms.cpp
    void handleDdrLpmStats(int32_t atomTag, AStatsEventList* data);
    void handleDdrFreqTimeInformation(int32_t atomTag, AStatsEventList* data);
    void handleUfsTimeInformation(int32_t atomTag, AStatsEventList* data);
    void handleAllocstallUxInformation(int32_t atomTag, AStatsEventList* data);
    void handleUfsTotalReadWriteSize(int32_t atomTag, AStatsEventList* data);

    // CPU: atoms/CpuAtoms.cpp
    void handleCpuLeakageInformation(int32_t atomTag, AStatsEventList* data);
    void handleCpuIdle(int32_t atomTag, AStatsEventList* data);
    void handlePerfSchedinfo(int32_t atomTag, AStatsEventList* data);

    // Wake-up sources: atoms/ActivityWakeUpSourceAtom.cpp
    void handleActiveWakeUpSource(int32_t atomTag, AStatsEventList* data);

    // Audio and usage data: atoms/AudioUsageAtoms.cpp
    void handleAudioPAPower(int32_t atomTag, AStatsEventList* data);
    void handleUahDataset(int32_t atomTag, AStatsEventList* data);

    // Shared by the handlers. Each forwards to the function of its name in sources/NodeContent.h.
    std::string getContentByHandleKey(const std::string& key);
    int32_t getValueByHandleKey(const std::string& key);
    KeyValueMap parseKeyValueFromContent(const std::string& content);
    int32_t getValueByKey(KeyValueMap& map, const std::string& key);

    /**
     * The charger service's proxy, connected on first use and again after the service died; empty
     * when the service is absent. Any thread.
     */
    std::shared_ptr<ICharger> getIChargeService();

    /** Backlight levels of panel 0 and panel 1, 0 where a panel's node is missing. */
    std::vector<int32_t> getScreenPanelBacklight();

    /** Switch of the dump option "--rgbLog". No handler reads it. */
    void setRgbHistogramLog(bool enabled) { mRgbHistogramLog = enabled; }
    bool rgbHistogramLog() const { return mRgbHistogramLog; }

    /** Held by the pull dispatch while it searches the handler table. */
    RecursiveMutex& handlerLock() RETURN_CAPABILITY(mHandlerLock) { return mHandlerLock; }

  private:
    /** Death notice of the charger service; the cookie is the callback object. */
    static void onChargerDied(void* cookie);

    std::atomic<bool> mRgbHistogramLog{false};  // atomic: no lock
    std::shared_ptr<ICharger> mChargerService GUARDED_BY(mChargerLock);
    /** The platform's thermal service; set once and kept, also when that service dies. No lock. */
    AtomicSp<android::os::IThermalService> mThermalService;
    /** Serialises the searches of the handler table, which is constant. Guards no member. */
    RecursiveMutex mHandlerLock;
    Mutex mChargerLock;  // never held during a call of the charger
    /** Not thread-safe; used by handleGpuFreqTimeInfo only. */
    GpuReader mGpuReader GUARDED_BY(mGpuLock);
    ThermalReader mThermalReader;  // guards itself
    /** Set at the first connection, then kept for the life of the object. No lock. */
    AtomicSp<INordaTouch> mTouchService;
    /** Last cumulative residency in ms by DDR frequency in MHz, of handleDdrFreqTimeInformation. */
    std::map<int32_t, int64_t> mDdrResidencyMs GUARDED_BY(mDdrLock);
    Mutex mGpuLock;
    Mutex mDdrLock;
};

}  // namespace zstats
