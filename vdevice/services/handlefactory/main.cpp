// Stand-in for the handle factory: the content of KEY is the profile's file nodes/KEY.

#include <aidl/vendor/norda/hardware/handlefactory/BnHandleFactory.h>

#include "vdevice/lib/ServiceMain.h"
#include "vdevice/lib/profile/ProfileFiles.h"

using namespace zstats::vdevice;

namespace {

using aidl::vendor::norda::hardware::handlefactory::BnHandleFactory;
using aidl::vendor::norda::hardware::handlefactory::HandleResult;

class HandleFactory : public BnHandleFactory {
  public:
    ndk::ScopedAStatus readHandle(const std::string& key, int32_t, HandleResult* result) override {
        // Counted for each process: a look with statsctl must not change what the daemon reads.
        auto content = mNodes.next(AIBinder_getCallingPid(), key);
        if (!content) {
            return ndk::ScopedAStatus(AStatus_fromExceptionCode(EX_ILLEGAL_ARGUMENT));
        }
        result->code = 0;
        result->content = std::move(*content);
        return ndk::ScopedAStatus::ok();
    }

  private:
    NodeSequence mNodes{profilePath(profile::kNodes)};
};

}  // namespace

int main() {
    const auto service = ndk::SharedRefBase::make<HandleFactory>();
    publishOrDie(std::string(HandleFactory::descriptor) + "/default", service->asBinder().get());
    return serveBinderCalls();
}
