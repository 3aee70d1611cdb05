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

int fs_mgr_umount_all(Fstab* /*fstab*/) {
    unexpected(__func__);
}

bool fs_mgr_swapon_all(const Fstab& /*fstab*/) {
    unexpected(__func__);
}

int fs_mgr_remount_userdata_into_checkpointing(Fstab* /*fstab*/) {
    unexpected(__func__);
}

MountAllResult fs_mgr_mount_all(Fstab* /*fstab*/, int /*mode*/) {
    unexpected(__func__);
}

bool fs_mgr_load_verity_state(int* /*mode*/) {
    unexpected(__func__);
}

bool fs_mgr_is_verity_enabled(const FstabEntry& /*entry*/) {
    unexpected(__func__);
}

std::optional<HashtreeInfo> fs_mgr_get_hashtree_info(const FstabEntry& /*entry*/) {
    unexpected(__func__);
}

namespace android::fs_mgr {

bool ReadDefaultFstab(Fstab* /*fstab*/) {
    unexpected(__func__);
}

bool ReadFstabFromFile(const std::string& /*path*/, Fstab* /*fstab*/) {
    unexpected(__func__);
}

FstabEntry* GetEntryForMountPoint(Fstab* /*fstab*/, const std::string& /*path*/) {
    unexpected(__func__);
}

}  // namespace android::fs_mgr

// libdm: device-mapper and loop devices.
namespace android::dm {

DeviceMapper& DeviceMapper::Instance() {
    unexpected("DeviceMapper::Instance");
}

bool DeviceMapper::GetDmDevicePathByName(const std::string& /*name*/, std::string* /*path*/) {
    unexpected("DeviceMapper::GetDmDevicePathByName");
}

std::optional<std::string> DeviceMapper::GetParentBlockDeviceByPath(const std::string& /*path*/) {
    unexpected("DeviceMapper::GetParentBlockDeviceByPath");
}

LoopControl::LoopControl() {
    unexpected("LoopControl");
}

bool LoopControl::Attach(int /*fd*/, const std::chrono::milliseconds& /*timeout*/,
                         std::string* /*device*/) const {
    unexpected("LoopControl::Attach");
}

bool LoopControl::Detach(const std::string& /*device*/) const {
    unexpected("LoopControl::Detach");
}

}  // namespace android::dm

// libfscrypt: encrypted folders of /data.
bool IsFbeEnabled() {
    return false;
}

bool FscryptInstallKeyring() {
    unexpected(__func__);
}

bool FscryptSetDirectoryPolicy(const std::string& /*key*/, FscryptAction /*action*/,
                               const std::string& /*folder*/) {
    unexpected(__func__);
}

// libprocessgroup: control groups and the profiles of tasks. ProcessGroups.cpp has the rest.
bool CgroupSetup() {
    unexpected(__func__);
}

bool CgroupGetControllerPath(const std::string& /*name*/, std::string* /*path*/) {
    unexpected(__func__);
}

bool CgroupGetControllerFromPath(const std::string& /*path*/, std::string* /*name*/) {
    unexpected(__func__);
}

bool SetTaskProfiles(int /*tid*/, const std::vector<std::string>& /*profiles*/, bool /*cache*/) {
    unexpected(__func__);
}

bool SetProcessProfiles(uid_t /*uid*/, pid_t /*pid*/, const std::vector<std::string>& /*names*/) {
    unexpected(__func__);
}

bool SetProcessProfiles(uid_t /*uid*/, pid_t /*pid*/,
                        std::initializer_list<std::string_view> /*names*/) {
    unexpected(__func__);
}

int createProcessGroup(uid_t /*uid*/, int /*pid*/, bool /*memory*/) {
    unexpected(__func__);
}

bool setProcessGroupSwappiness(uid_t /*uid*/, int /*pid*/, int /*swappiness*/) {
    unexpected(__func__);
}

bool setProcessGroupSoftLimit(uid_t /*uid*/, int /*pid*/, int64_t /*limit*/) {
    unexpected(__func__);
}

bool setProcessGroupLimit(uid_t /*uid*/, int /*pid*/, int64_t /*limit*/) {
    unexpected(__func__);
}

namespace android::init {

// APEXes: mounted packages of system components, which may have rc files.
std::set<std::string> GetApexListFrom(const std::string& /*folder*/) {
    unexpected(__func__);
}

Result<void> ParseRcScriptsFromApex(const std::string& /*name*/) {
    unexpected(__func__);
}

Result<void> ParseRcScriptsFromAllApexes(bool /*bootstrap*/) {
    unexpected(__func__);
}

// snapuserd: serves partitions of an update before it is merged.
std::optional<pid_t> GetSnapuserdFirstStagePid() {
    return std::nullopt;
}

std::vector<std::string> GetSnapuserdFirstStageInfo() {
    unexpected(__func__);
}

}  // namespace android::init
