#include <android/os/IThermalService.h>
#include <binder/IServiceManager.h>
#include <utils/String16.h>

#include <limits>

#include "atoms/AtomEvent.h"
#include "daemon/Log.h"
#include "daemon/ZStatsPullAtomCallback.h"

namespace zstats {

using android::IBinder;
using android::sp;
using android::os::IThermalService;
using android::os::Temperature;

namespace {

constexpr int32_t kCpuTemperatureType = 0;

/** Truncates toward zero; the ends of the range and 0 stand for what has no int32. */
int32_t truncateToInt32(float value) {
    if (value != value) return 0;
    if (value >= 2147483648.0f) return std::numeric_limits<int32_t>::max();
    if (value <= -2147483648.0f) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

/** The platform's thermal service: the cached proxy, or one looked up and cached now. */
sp<IThermalService> checkThermalService(AtomicSp<IThermalService>& cache) {
    sp<IThermalService> service = cache.load();
    if (service != nullptr) return service;
    const sp<android::IServiceManager> manager = android::defaultServiceManager();
    const sp<IBinder> binder = manager != nullptr
                                       ? manager->checkService(android::String16("thermalservice"))
                                       : nullptr;
    if (binder == nullptr) {
        ZLOG(ERROR, "get thermalservice failed");
        return nullptr;
    }
    ZLOG_AT(2, DEBUG, "get thermalservice succeed");
    service = IThermalService::asInterface(binder);
    cache.store(service);
    return service;
}

/** Appends the temperatures of `type` as one event when there are as many as its atom holds. */
void appendTemperature(ThermalReader& reader, ThermalReader::TemperatureType type,
                       const char* handler, int32_t atomTag, AStatsEventList* data) {
    std::vector<int> values;
    const int result = reader.getTemperatureInMilliCelsius(type, values);
    if (result == 0 && type == ThermalReader::SHELL && values.size() == 3) {
        appendEvent(data, atomTag, values[0], values[1], values[2]);
    } else if (result == 0 && type != ThermalReader::SHELL && !values.empty()) {
        appendEvent(data, atomTag, values[0]);
    } else {
        ZLOG_AT(2, DEBUG, "%s getTemperatureInMilliCelsius failed", handler);
    }
}

}  // namespace

void ZStatsPullAtomCallback::handleCpuTemperature(int32_t atomTag, AStatsEventList* data) {
    const sp<IThermalService> service = checkThermalService(mThermalService);
    if (service == nullptr) {
        ZLOG_AT(0, WARN, "%s line %d, checkIThermalService return false", "handleCpuTemperature",
                940);
        return;
    }
    std::vector<Temperature> temperatures;
    // The list alone decides: a failed call leaves it empty.
    static_cast<void>(service->getCurrentTemperaturesWithType(kCpuTemperatureType, &temperatures));
    if (temperatures.empty()) {
        ZLOG_AT(0, WARN, "%s line %d, temperatureVec is empty", "handleCpuTemperature", 947);
        return;
    }
    for (size_t i = 0; i < temperatures.size(); ++i) {
        appendEvent(data, atomTag, static_cast<int32_t>(i), truncateToInt32(temperatures[i].mValue));
    }
}

void ZStatsPullAtomCallback::handleThermalStatus(int32_t atomTag, AStatsEventList* data) {
    int status = 0;
    if (mThermalReader.getThermalStatus(status) != 0) {
        ZLOG_AT(2, DEBUG, "%s getThermalStatus failed", "handleThermalStatus");
        return;
    }
    appendEvent(data, atomTag, int32_t{status});
}

void ZStatsPullAtomCallback::handleAmbientTemperature(int32_t atomTag, AStatsEventList* data) {
    appendTemperature(mThermalReader, ThermalReader::AMBIENT, "handleAmbientTemperature", atomTag,
                      data);
}

void ZStatsPullAtomCallback::handleBoardTemperature(int32_t atomTag, AStatsEventList* data) {
    appendTemperature(mThermalReader, ThermalReader::BOARD, "handleBoardTemperature", atomTag, data);
}

void ZStatsPullAtomCallback::handleShellTemperature(int32_t atomTag, AStatsEventList* data) {
    appendTemperature(mThermalReader, ThermalReader::SHELL, "handleShellTemperature", atomTag, data);
}

}  // namespace zstats
