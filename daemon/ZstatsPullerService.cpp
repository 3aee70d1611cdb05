#include "daemon/ZstatsPullerService.h"

#include <android/binder_ibinder.h>
#include <android/binder_manager.h>
#include <binder/IPCThreadState.h>
#include <stats_pull_atom_callback.h>
#include <unistd.h>
#include <utils/String8.h>

#include <algorithm>

#include "daemon/AtomTable.h"
#include "daemon/CoreControlChannel.h"
#include "daemon/PullDispatch.h"
#include "daemon/base/Callers.h"
#include "daemon/base/Log.h"
#include "daemon/base/ManualInterface.h"
#include "daemon/base/Numbers.h"
#include "kernel/BpfEventChannel.h"

namespace zstats {

using aidl::android::os::IStatsd;
using android::String16;
using android::String8;

namespace {

// The same for every atom; statsd enforces them.
constexpr int64_t kCoolDownMillis = 1000;
constexpr int64_t kTimeoutMillis = 2000;

constexpr char kDumpHeader[] = "ZstatsPullerService::dump\n";
constexpr char kDumpHelp[] =
        "\tdumpsys zstats_pullerd --rgbLog INPUT_1_OR_0: enable or disable RGB Histogram log\n"
        "\tdumpsys zstats_pullerd --loglevel INPUT_0(WARN)_OR_1(INFO)_OR_2(DEBUG): switch log "
        "level\n";

/** In the table's order, which is the order of registration. */
std::vector<int32_t> allAtomTags() {
    std::vector<int32_t> tags;
    for (const AtomEntry& entry : kAtomTable) tags.push_back(entry.tag);
    return tags;
}

void registerPullAtomCallback(int32_t tag, ZStatsPullAtomCallback* cookie) {
    AStatsManager_PullAtomMetadata* metadata = AStatsManager_PullAtomMetadata_obtain();
    AStatsManager_PullAtomMetadata_setCoolDownMillis(metadata, kCoolDownMillis);
    AStatsManager_PullAtomMetadata_setTimeoutMillis(metadata, kTimeoutMillis);
    AStatsManager_PullAtomMetadata_setAdditiveFields(metadata, nullptr, 0);
    AStatsManager_setPullAtomCallback(tag, metadata, onPullAtom, cookie);
    AStatsManager_PullAtomMetadata_release(metadata);
}

int32_t toNumber(const String16& text) {
    return leadingInt32(String8(text).c_str());
}

}  // namespace

IMPLEMENT_MANUAL_META_INTERFACE(ZstatsPullerService, "com.norda.zstats.IZstatsPullerService")

BnZstatsPullerService::BnZstatsPullerService()
      : mAtomTags(allAtomTags()), mStatsdDeathRecipient(AIBinder_DeathRecipient_new(onStatsdDied)) {
    // Without statsd there are no pulls, so skip the rest.
    if (!connectStatsd()) return;
    mPullAtomCallback = std::make_shared<ZStatsPullAtomCallback>();
    registerPullAtomCallbacks();
    openKernelChannels();
}

BnZstatsPullerService::~BnZstatsPullerService() = default;

ZstatsPullerService::~ZstatsPullerService() {
    // Called without a connection as well: the library ignores negative descriptors.
    zbpf_connect_exit(connectFd(), kBpfClientName);
}

bool BnZstatsPullerService::connectStatsd() {
    const ndk::SpAIBinder binder(AServiceManager_checkService("stats"));
    const std::shared_ptr<IStatsd> statsd = IStatsd::fromBinder(binder);
    if (statsd == nullptr) {
        ZLOG(ERROR, "pullerd:  Get statsd service fail");
        ZLOG_AT(1, INFO, "pullerd: mStatsd is null");
        return false;
    }
    // Store before linking: a notice that arrives at once has to clear it.
    mStatsd.store(statsd);
    AIBinder_linkToDeath(binder.get(), mStatsdDeathRecipient.get(), this);
    return true;
}

void BnZstatsPullerService::registerPullAtomCallbacks() {
    // Pulls may arrive from the first registration on; mPullAtomCallback is complete.
    for (const int32_t tag : mAtomTags) registerPullAtomCallback(tag, mPullAtomCallback.get());
    ZLOG_AT(1, INFO, "pullerd:uid =%d registerPullAtomCallback success", getuid());
}

void BnZstatsPullerService::openKernelChannels() {
    // Arrays, because the function takes a char*.
    char schedPath[] = "/system_ext/bin/zcvt/norda_sched";
    connectZbpfForKorkerInner(schedPath);
    if (!opensCoreControlChannel()) return;
    char coreControlPath[] = "/system_ext/bin/zcvt/norda_sched_corectl";
    connectZbpfForKorkerInner(coreControlPath);
}

void BnZstatsPullerService::connectZbpfForKorkerInner(char* path) {
    if (!isBpfChannelSupported()) {
        ZLOG_AT(0, WARN, "do not support zcvt");
        return;
    }
    zbpf_connect_request request = buildConnectionRequest(path);
    mConnectFd = zbpf_connect_start(&request);
    ZLOG_AT(2, DEBUG, "kworker mConnectFd = %d", mConnectFd);
    if (mConnectFd < 0) {
        ZLOG_AT(0, WARN, "kworker connect fail fd = %d", mConnectFd);
    }
}

void BnZstatsPullerService::onStatsdDied(void* cookie) {
    // libstatspull registers the atoms again, so only the reference is dropped here.
    ZLOG(ERROR, "statsd service died, will try to reconnect.");
    static_cast<BnZstatsPullerService*>(cookie)->mStatsd.store(nullptr);
}

android::status_t BnZstatsPullerService::dump(int fd, const android::Vector<String16>& args) {
    if (!isRootOrSystem(android::IPCThreadState::self()->getCallingUid())) {
        return android::PERMISSION_DENIED;
    }
    std::string text = kDumpHeader;
    text += args.size() == 2 ? applyDumpOption(args[0], args[1]) : kDumpHelp;
    // A single write, without a retry: what a short write leaves is lost.
    [[maybe_unused]] const ssize_t written = write(fd, text.data(), text.size());
    return android::OK;
}

std::string BnZstatsPullerService::applyDumpOption(const String16& option, const String16& value) {
    if (option == String16("--rgbLog")) {
        const int32_t enabled = setRgbHistogramLog(toNumber(value) != 0);
        return "\tZstats_pullerd set RGB Histogram Log: " + std::to_string(enabled) + "\n";
    }
    if (option == String16("--loglevel")) {
        const int32_t level = std::max(toNumber(value), 0);
        gLogLevel.store(level, std::memory_order_relaxed);
        return "\tZstats_pullerd set gLogLevel: " + std::to_string(level) + "\n";
    }
    return "";
}

/** Returns the flag as stored; 0 when there is no callback object to store it. */
int32_t BnZstatsPullerService::setRgbHistogramLog(bool enabled) {
    if (mPullAtomCallback == nullptr) return 0;
    mPullAtomCallback->setRgbHistogramLog(enabled);
    return mPullAtomCallback->rgbHistogramLog() ? 1 : 0;
}

android::status_t BnZstatsPullerService::onTransact(uint32_t code, const android::Parcel& data,
                                                    android::Parcel* reply, uint32_t flags) {
    ZLOG(INFO, "BnZstatsPullerService onTransact code %d, flags %d.", code, flags);
    return BnInterface<IZstatsPullerService>::onTransact(code, data, reply, flags);
}

}  // namespace zstats
