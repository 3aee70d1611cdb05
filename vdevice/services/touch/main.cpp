// The virtual device's touch service: its one node holds the text of the profile's file "touch".

#include <vendor/norda/hardware/touch/BnNordaTouch.h>

#include "vdevice/lib/ServiceMain.h"
#include "vdevice/lib/profile/ProfileFiles.h"

using namespace zstats::vdevice;

namespace {

using android::String16;
using android::binder::Status;

constexpr int32_t kDevice = 0;
constexpr int32_t kRefreshRateNode = 26;

class Touch : public vendor::norda::hardware::touch::BnNordaTouch {
  public:
    Status touchReadNodeFile(int32_t deviceId, int32_t nodeFlag, String16* text) override {
        const auto content = readProfileFile(profilePath(profile::kTouch));
        if (deviceId != kDevice || nodeFlag != kRefreshRateNode || !content) {
            return Status::fromExceptionCode(Status::EX_ILLEGAL_ARGUMENT);
        }
        *text = String16(content->c_str(), content->size());
        return Status::ok();
    }
};

}  // namespace

int main() {
    publishOrDie("vendor.norda.hardware.touch.INordaTouch/default",
                 android::sp<android::IBinder>(new Touch));
    return serveBinderCalls();
}
