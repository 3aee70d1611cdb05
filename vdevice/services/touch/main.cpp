// Stand-in for the touch service. Its only node has the text of the profile's file "touch".

#include <vendor/norda/hardware/touch/BnNordaTouch.h>

#include "sources/ServiceWire.h"
#include "vdevice/lib/ServiceMain.h"
#include "vdevice/lib/profile/ProfileFiles.h"

using namespace zstats;
using namespace zstats::vdevice;

namespace {

using android::String16;
using android::binder::Status;

class Touch : public vendor::norda::hardware::touch::BnNordaTouch {
  public:
    Status touchReadNodeFile(int32_t deviceId, int32_t nodeFlag, String16* text) override {
        const auto content = readProfileFile(profilePath(profile::kTouch));
        if (deviceId != kTouchDevice || nodeFlag != kRefreshRateNode || !content) {
            return Status::fromExceptionCode(Status::EX_ILLEGAL_ARGUMENT);
        }
        *text = String16(content->c_str(), content->size());
        return Status::ok();
    }
};

}  // namespace

int main() {
    publishOrDie(kTouchService, android::sp<android::IBinder>(new Touch));
    return serveBinderCalls();
}
