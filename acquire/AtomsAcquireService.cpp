#include "acquire/AtomsAcquireService.h"

#include <binder/IPCThreadState.h>

#include "acquire/PushedAtomSubscription.h"
#include "daemon/base/Callers.h"
#include "daemon/base/Log.h"

namespace zstats {

using android::binder::Status;

bool AtomsAcquireService::checkCallingPermission() {
    const uid_t uid = android::IPCThreadState::self()->getCallingUid();
    ZLOG(INFO, "AtomsAcquireService checkCallingPermission callingUid =%d!\n", uid);
    if (isRootOrSystem(uid)) return true;
    ZLOG(ERROR, "AtomsAcquireService::checkCallingPermission calling from invalid uid:%d", uid);
    return false;
}

Status AtomsAcquireService::getInfoForPulledAtoms(const std::vector<int32_t>&,
                                                  std::vector<std::string>*) {
    ZLOG(INFO, "AtomsAcquire pullAtomsAcquire");
    return Status::ok();
}

Status AtomsAcquireService::registerFdForPushedAtoms(const std::vector<int32_t>& atomIds,
                                                     const android::os::ParcelFileDescriptor& fd,
                                                     int32_t* ret) {
    if (!checkCallingPermission()) {
        ZLOG(ERROR, "AtomsAcquireService checkCallingPermission filded!\n");
        return Status::fromServiceSpecificError(-1);
    }
    *ret = dumpShellSubscriptionForPush(atomIds, fd);
    return Status::ok();
}

}  // namespace zstats
