// Stand-in for the charger. Each method that returns a number returns that of its line in the
// profile's file "charger".

#include <aidl/ChargerMethods.h>
#include <aidl/vendor/norda/hardware/charger/BnCharger.h>

#include "vdevice/lib/ServiceMain.h"
#include "vdevice/lib/profile/ProfileFiles.h"

using namespace zstats::vdevice;

namespace {

using Status = ndk::ScopedAStatus;

/** The number in the line of `method`; an error for any other text or a missing line. */
Status lookUp(const char* method, int32_t* value) {
    const auto text = readProfileFile(profilePath(profile::kCharger));
    const auto lines = keyValueLines(text.value_or(""));
    const auto found = lines.find(method);
    const auto number = found == lines.end() ? std::nullopt : parseInt(found->second);
    if (!number) return Status(AStatus_fromExceptionCode(EX_UNSUPPORTED_OPERATION));
    *value = *number;
    return Status::ok();
}

class Charger : public aidl::vendor::norda::hardware::charger::BnCharger {
  public:
#define ANSWER(method)                       \
    Status method(int32_t* value) override { \
        return lookUp(#method, value);       \
    }
    ZSTATS_CHARGER_METHODS(ANSWER)
#undef ANSWER
};

}  // namespace

int main() {
    const auto service = ndk::SharedRefBase::make<Charger>();
    publishOrDie(std::string(Charger::descriptor) + "/default", service->asBinder().get());
    return serveBinderCalls();
}
