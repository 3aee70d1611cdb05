// Stand-in for the platform's thermal service: the CPU temperatures only, one for each line of the
// profile's file "thermal".

#include <android/os/BnThermalService.h>

#include <cstdlib>
#include <vector>

#include "sources/ServiceWire.h"
#include "vdevice/lib/ServiceMain.h"
#include "vdevice/lib/profile/ProfileFiles.h"

using namespace zstats::vdevice;

namespace {

using android::sp;
using android::binder::Status;
using android::os::Temperature;

Status unsupported() {
    return Status::fromExceptionCode(Status::EX_UNSUPPORTED_OPERATION);
}

std::vector<Temperature> cpuTemperatures() {
    std::vector<Temperature> temperatures;
    const auto text = readProfileFile(profilePath(profile::kThermal));
    for (const std::string& line : profileLines(text.value_or(""))) {
        const std::string name = "CPU" + std::to_string(temperatures.size());
        temperatures.emplace_back(strtof(line.c_str(), nullptr), zstats::kCpuTemperatureType,
                                  android::String16(name.c_str()), 0);
    }
    return temperatures;
}

class ThermalBase : public android::os::BnThermalService {
  public:
#include <android/os/IThermalService.refusals>
};

class ThermalService : public ThermalBase {
  public:
    Status getCurrentTemperatures(std::vector<Temperature>* list) override {
        *list = cpuTemperatures();
        return Status::ok();
    }
    Status getCurrentTemperaturesWithType(int32_t type, std::vector<Temperature>* list) override {
        if (type == zstats::kCpuTemperatureType) *list = cpuTemperatures();
        return Status::ok();
    }
    Status getCurrentThermalStatus(int32_t* status) override {
        *status = 0;
        return Status::ok();
    }
};

}  // namespace

int main() {
    publishOrDie(zstats::kThermalService, sp<android::IBinder>(new ThermalService));
    return serveBinderCalls();
}
