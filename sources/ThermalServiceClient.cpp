#include "sources/ThermalServiceClient.h"

#include <algorithm>
#include <iterator>

#include "daemon/base/Log.h"
#include "sources/ServiceLookup.h"
#include "sources/ServiceWire.h"

namespace zstats {

using android::sp;
using android::os::IThermalService;

sp<IThermalService> getThermalService(AtomicSp<IThermalService>& cache) {
    sp<IThermalService> service = cache.load();
    if (service != nullptr) return service;
    const sp<android::IBinder> binder = lookUpService(kThermalService).binder;
    if (binder == nullptr) {
        ZLOG(ERROR, "get thermalservice failed");
        return nullptr;
    }
    ZLOG_AT(2, DEBUG, "get thermalservice succeed");
    service = IThermalService::asInterface(binder);
    cache.store(service);
    return service;
}

std::vector<float> readCpuTemperatures(IThermalService& service) {
    std::vector<android::os::Temperature> temperatures;
    // The status is not checked: a failed call leaves the list empty.
    static_cast<void>(service.getCurrentTemperaturesWithType(kCpuTemperatureType, &temperatures));
    std::vector<float> degrees;
    std::transform(temperatures.begin(), temperatures.end(), std::back_inserter(degrees),
                   [](const auto& temperature) { return temperature.mValue; });
    return degrees;
}

}  // namespace zstats
