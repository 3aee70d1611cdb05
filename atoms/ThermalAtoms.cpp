#include <algorithm>
#include <cmath>
#include <limits>

#include "atoms/AtomEvent.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Log.h"
#include "sources/ThermalServiceClient.h"

namespace zstats {
namespace {

/** Truncates toward zero. Values beyond int32 give the end of its range, NaN gives 0. */
int32_t truncateToInt32(float value) {
    using Limits = std::numeric_limits<int32_t>;
    if (std::isnan(value)) return 0;
    return static_cast<int32_t>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

/** Appends the temperatures of `type` as one event if their number is the atom's. */
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

// The line numbers in the warnings are fixed parts of their texts.
void ZStatsPullAtomCallback::handleCpuTemperature(int32_t atomTag, AStatsEventList* data) {
    const auto service = getThermalService(mThermalService);
    if (service == nullptr) {
        ZLOG_AT(0, WARN, "%s line %d, checkIThermalService return false", __func__, 940);
        return;
    }
    const std::vector<float> degrees = readCpuTemperatures(*service);
    if (degrees.empty()) {
        ZLOG_AT(0, WARN, "%s line %d, temperatureVec is empty", __func__, 947);
        return;
    }
    for (size_t i = 0; i < degrees.size(); ++i) {
        appendEvent(data, atomTag, static_cast<int32_t>(i), truncateToInt32(degrees[i]));
    }
}

void ZStatsPullAtomCallback::handleThermalStatus(int32_t atomTag, AStatsEventList* data) {
    int status = 0;
    if (mThermalReader.getThermalStatus(status) != 0) {
        ZLOG_AT(2, DEBUG, "%s getThermalStatus failed", __func__);
        return;
    }
    appendEvent(data, atomTag, int32_t{status});
}

void ZStatsPullAtomCallback::handleAmbientTemperature(int32_t atomTag, AStatsEventList* data) {
    appendTemperature(mThermalReader, ThermalReader::AMBIENT, __func__, atomTag, data);
}

void ZStatsPullAtomCallback::handleBoardTemperature(int32_t atomTag, AStatsEventList* data) {
    appendTemperature(mThermalReader, ThermalReader::BOARD, __func__, atomTag, data);
}

void ZStatsPullAtomCallback::handleShellTemperature(int32_t atomTag, AStatsEventList* data) {
    appendTemperature(mThermalReader, ThermalReader::SHELL, __func__, atomTag, data);
}

}  // namespace zstats
