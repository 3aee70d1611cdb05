#include <aidl/android/os/BnStatsCompanionService.h>
#include <android-base/file.h>
#include <gtest/gtest.h>

#include "host/inprocess/InProcessBinder.h"
#include "tests/unit/vdevice/system/statsd/FakePuller.h"
#include "vdevice/system/statsd/Companion.h"
#include "vdevice/system/statsd/StatsdService.h"

namespace zstats::vdevice {
namespace {

constexpr int32_t kTag = 150005;
constexpr uid_t kTrusted = 1066;

/** A system server that gives permissions to one user. */
class FakeCompanion : public aidl::android::os::BnStatsCompanionService {
  public:
    ndk::ScopedAStatus checkPermission(const std::string& permission, int32_t, int32_t uid,
                                       bool* granted) override {
        asked = permission;
        *granted = uid == static_cast<int32_t>(kTrusted);
        return ndk::ScopedAStatus::ok();
    }
    std::string asked;
};

class StatsdServiceTest : public testing::Test {
  protected:
    void SetUp() override {
        mCompanion = ndk::SharedRefBase::make<FakeCompanion>();
        mCompanionRemote = inprocess::publish("statscompanion", mCompanion->asBinder());
        mService = ndk::SharedRefBase::make<StatsdService>(&mPullers, &mSubscriber, companionGrants);
        mRemote = inprocess::publish("stats", mService->asBinder());
        mStatsd = aidl::android::os::IStatsd::fromBinder(mRemote->ndkProxy());
        ASSERT_NE(nullptr, mStatsd);
    }
    void TearDown() override { inprocess::reset(); }

    /** Status and output, errors included, of a shell command. */
    std::string command(std::vector<const char*> words) {
        TemporaryFile out;
        const auto status = mService->handleShellCommand(-1, out.fd, out.fd, words.data(),
                                                         static_cast<uint32_t>(words.size()));
        std::string text;
        EXPECT_TRUE(android::base::ReadFileToString(out.path, &text));
        return std::to_string(status) + " " + text;
    }

    PullerManager mPullers;
    ShellSubscriber mSubscriber{&mPullers};
    std::shared_ptr<FakeCompanion> mCompanion;
    std::shared_ptr<StatsdService> mService;
    std::shared_ptr<inprocess::RemoteService> mCompanionRemote;
    std::shared_ptr<inprocess::RemoteService> mRemote;
    std::shared_ptr<aidl::android::os::IStatsd> mStatsd;
    std::shared_ptr<FakePuller> mPuller = ndk::SharedRefBase::make<FakePuller>();
};

TEST_F(StatsdServiceTest, takesRegistrationsFromUsersWithThePermissionAlone) {
    for (const uid_t uid : {uid_t{0}, uid_t{1000}, uid_t{2000}, kTrusted}) {
        mRemote->setCallerUid(uid);
        mStatsd->registerNativePullAtomCallback(kTag, 1000, 2000, {}, mPuller);
        mRemote->drainOneway();
        EXPECT_EQ("android.permission.REGISTER_STATS_PULL_ATOM", mCompanion->asked);
        EXPECT_EQ(uid == kTrusted ? 1u : 0u, mPullers.list().size()) << uid;
    }
    for (const uid_t uid : {uid_t{1000}, kTrusted}) {
        mRemote->setCallerUid(uid);
        mStatsd->unregisterNativePullAtomCallback(kTag);
        mRemote->drainOneway();
        EXPECT_EQ(uid == kTrusted ? 0u : 1u, mPullers.list().size()) << uid;
    }
}

TEST_F(StatsdServiceTest, letsSystemAndRootRegisterForOthers) {
    size_t expected = 0;
    for (const uid_t uid : {uid_t{2000}, kTrusted, uid_t{0}, uid_t{1000}}) {
        mRemote->setCallerUid(uid);
        mStatsd->registerPullAtomCallback(static_cast<int32_t>(uid), kTag, 1000, 2000, {}, mPuller);
        mRemote->drainOneway();
        expected += uid == 0 || uid == 1000 ? 1 : 0;
        EXPECT_EQ(expected, mPullers.list().size()) << uid;
    }
}

TEST_F(StatsdServiceTest, pullsFromSystemUnlessAUserIsNamed) {
    mPullers.add(0, kTag, {1000, 2000, {}}, mPuller);
    const std::string usage =
            "-22 pull-source wants an atom tag, and a uid or AID name if it is not system's\n";
    const std::string event = "{ 150005 : 1 }\nPull from 150005: received 1 events";
    const std::string missing = "-2147483648 Pull from 150005 failed: no puller registered\n";
    const struct {
        std::vector<const char*> words;
        std::string result;
    } rows[] = {
            {{"pull-source", "150005"}, missing},
            {{"pull-source", "150005", "AID_ROOT"}, "0 " + event + "\n"},
            {{"pull-source", "150005", "0"}, "0 " + event + " (from the cache)\n"},
            {{"pull-source", "150005", "AID_SYSTEM"}, missing},
            {{"pull-source", "150005", "AID_UNKNOWN"}, usage},
            {{"pull-source", "x"}, usage},
            {{"pull-source"}, usage},
    };
    for (const auto& row : rows) EXPECT_EQ(row.result, command(row.words));
}

}  // namespace
}  // namespace zstats::vdevice
