// The virtual device's charger: each getter answers with its line of the profile's file "charger".

#include <aidl/vendor/norda/hardware/charger/BnCharger.h>

#include "vdevice/common/ProfileFiles.h"
#include "vdevice/common/ServiceMain.h"

using namespace zstats::vdevice;

namespace {

using Status = ndk::ScopedAStatus;

/** The number beside `method`; an error for "fail", for no number and for no such line. */
Status lookUp(const char* method, int32_t* value) {
    const auto text = readProfileFile(std::string(kProfileRoot) + "/charger");
    const auto lines = keyValueLines(text.value_or(""));
    const auto found = lines.find(method);
    const auto number = found == lines.end() ? std::nullopt : parseInt(found->second);
    if (!number) return Status(AStatus_fromExceptionCode(EX_UNSUPPORTED_OPERATION));
    *value = *number;
    return Status::ok();
}

class Charger : public aidl::vendor::norda::hardware::charger::BnCharger {
  public:
    Status getBatteryVoltageNow(int32_t* value) override { return lookUp(__func__, value); }
    Status getPsyBatteryCC(int32_t* value) override { return lookUp(__func__, value); }
    Status getPsyBatteryCurrentNow(int32_t* value) override { return lookUp(__func__, value); }
    Status getPsyBatteryFcc(int32_t* value) override { return lookUp(__func__, value); }
    Status getPsyBatteryPchg(int32_t* value) override { return lookUp(__func__, value); }
    Status getPsyBatteryPchgResetCount(int32_t* value) override { return lookUp(__func__, value); }
    Status getPsyBatteryTemp(int32_t* value) override { return lookUp(__func__, value); }
    Status getPsyChargeTech(int32_t* value) override { return lookUp(__func__, value); }
    Status getPsyFastChgType(int32_t* value) override { return lookUp(__func__, value); }
    Status getPsyInputCurrent(int32_t* value) override { return lookUp(__func__, value); }
    Status getUIsohValue(int32_t* value) override { return lookUp(__func__, value); }
    Status getUsbInputCurrentNow(int32_t* value) override { return lookUp(__func__, value); }
};

}  // namespace

int main() {
    const auto service = ndk::SharedRefBase::make<Charger>();
    publishOrDie(std::string(Charger::descriptor) + "/default", service->asBinder().get());
    return serve();
}
