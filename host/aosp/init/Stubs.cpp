#include <android-base/logging.h>
#include <fs_mgr.h>
#include <fs_mgr_vendor_overlay.h>
#include <fscrypt/fscrypt.h>
#include <libdm/dm.h>
#include <libdm/loop_control.h>
#include <processgroup/processgroup.h>
#include <processgroup/setup.h>

#include "apex_init_util.h"
#include "fscrypt_init_extensions.h"
#include "snapuserd_transition.h"
#include "unexpected.h"

// Functions that init links and the virtual device does not need. Those that are called at each
// boot answer as on a phone without the feature; the others end init with their name.

void unexpected(const char* name) {
    LOG(FATAL) << name << " is not there in the virtual device";
    abort();
}

// libfs_mgr: the partitions of a phone. Here, a single RAM disk has all files.
using android::fs_mgr::Fstab;
using android::fs_mgr::FstabEntry;

bool fs_mgr_vendor_overlay_mount_all() {
    return true;
}

STUB(int fs_mgr_umount_all(Fstab*))
STUB(bool fs_mgr_swapon_all(const Fstab&))
STUB(int fs_mgr_remount_userdata_into_checkpointing(Fstab*))
STUB(MountAllResult fs_mgr_mount_all(Fstab*, int))
STUB(bool fs_mgr_load_verity_state(int*))
STUB(bool fs_mgr_is_verity_enabled(const FstabEntry&))
STUB(std::optional<HashtreeInfo> fs_mgr_get_hashtree_info(const FstabEntry&))

namespace android::fs_mgr {

STUB(bool ReadDefaultFstab(Fstab*))
STUB(bool ReadFstabFromFile(const std::string&, Fstab*))
STUB(FstabEntry* GetEntryForMountPoint(Fstab*, const std::string&))

}  // namespace android::fs_mgr

// libdm: device-mapper and loop devices.
namespace android::dm {

STUB(DeviceMapper& DeviceMapper::Instance())
STUB(bool DeviceMapper::GetDmDevicePathByName(const std::string&, std::string*))
STUB(std::optional<std::string> DeviceMapper::GetParentBlockDeviceByPath(const std::string&))
STUB(LoopControl::LoopControl())
STUB(bool LoopControl::Attach(int, const std::chrono::milliseconds&, std::string*) const)
STUB(bool LoopControl::Detach(const std::string&) const)

}  // namespace android::dm

// libfscrypt: encrypted folders of /data.
bool IsFbeEnabled() {
    return false;
}

STUB(bool FscryptInstallKeyring())
STUB(bool FscryptSetDirectoryPolicy(const std::string&, FscryptAction, const std::string&))

// libprocessgroup: control groups and the profiles of tasks. ProcessGroups.cpp has the rest.
STUB(bool CgroupSetup())
STUB(bool CgroupGetControllerPath(const std::string&, std::string*))
STUB(bool CgroupGetControllerFromPath(const std::string&, std::string*))
STUB(bool SetTaskProfiles(int, const std::vector<std::string>&, bool))
STUB(bool SetProcessProfiles(uid_t, pid_t, const std::vector<std::string>&))
STUB(bool SetProcessProfiles(uid_t, pid_t, std::initializer_list<std::string_view>))
STUB(int createProcessGroup(uid_t, int, bool))
STUB(bool setProcessGroupSwappiness(uid_t, int, int))
STUB(bool setProcessGroupSoftLimit(uid_t, int, int64_t))
STUB(bool setProcessGroupLimit(uid_t, int, int64_t))

namespace android::init {

// APEXes: mounted packages of system components, which may have rc files.
STUB(std::set<std::string> GetApexListFrom(const std::string&))
STUB(Result<void> ParseRcScriptsFromApex(const std::string&))
STUB(Result<void> ParseRcScriptsFromAllApexes(bool))

// snapuserd: serves partitions of an update before it is merged.
std::optional<pid_t> GetSnapuserdFirstStagePid() {
    return std::nullopt;
}

STUB(std::vector<std::string> GetSnapuserdFirstStageInfo())

}  // namespace android::init
