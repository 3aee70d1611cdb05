#pragma once

#include <memory>
#include <string>

// A phone's updates are snapshots of partitions, merged after the boot. There are none here.

namespace android::snapshot {

class SnapshotManager {
  public:
    static std::unique_ptr<SnapshotManager> New() { return std::make_unique<SnapshotManager>(); }
    static std::string GetGlobalRollbackIndicatorPath() {
        return "/metadata/ota/rollback-indicator";
    }
    bool IsUserspaceSnapshotUpdateInProgress() { return false; }
};

}  // namespace android::snapshot
