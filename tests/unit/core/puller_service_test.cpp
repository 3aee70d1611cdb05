#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "daemon/Log.h"
#include "daemon/ZstatsPullerService.h"
#include "host/inprocess/InProcessBinder.h"
#include "host/properties/PropertyStore.h"
#include "host/stats/PullRegistry.h"
#include "tests/support/FakeVendorServices.h"
#include "tests/unit/core/StatsdTest.h"

namespace zstats {
namespace {

using android::sp;

constexpr char kSched[] = "start /system_ext/bin/zcvt/norda_sched pullerd_kw";
constexpr char kCoreControl[] = "start /system_ext/bin/zcvt/norda_sched_corectl pullerd_kw";

/** The 39 tags in the order in which statsd is to get them, written down a second time. */
constexpr int32_t kTags[] = {150005, 150006, 150007, 150008, 150009, 150010, 150011, 150013,
                             150014, 150018, 150015, 150112, 150022, 150023, 150024, 150025,
                             150026, 150029, 150027, 150028, 150113, 150030, 150031, 150020,
                             150121, 150123, 150124, 150125, 150126, 150127, 150128, 150129,
                             150131, 150133, 150135, 150136, 150138, 150141, 150167};

class PullerService : public StatsdTest {
  protected:
    std::vector<std::string> startsAndExits() const {
        std::vector<std::string> calls;
        for (const std::string& call : substitute::bpfCalls()) {
            if (call.find(' ') != std::string::npos) calls.push_back(call);
        }
        return calls;
    }
};

TEST_F(PullerService, registersEveryAtomInTheOrderOfTheTable) {
    const sp<ZstatsPullerService> service(new ZstatsPullerService());
    PullRegistry::instance().join();
    mRemoteStatsd->drainOneway();
    const auto registrations = mStatsd->waitForRegistrations(std::size(kTags));
    ASSERT_EQ(registrations.size(), std::size(kTags));
    for (size_t i = 0; i < registrations.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(registrations[i].tag, kTags[i]);
        EXPECT_EQ(registrations[i].coolDownMillis, 1000);
        EXPECT_EQ(registrations[i].timeoutMillis, 2000);
        EXPECT_TRUE(registrations[i].additiveFields.empty());
    }
    EXPECT_NE(service->statsd(), nullptr);
    EXPECT_TRUE(mLog.contains(ANDROID_LOG_INFO, "pullerd:uid =" + std::to_string(getuid()) +
                                                        " registerPullAtomCallback success"));
}

TEST_F(PullerService, everyPullIsAnsweredByOneAndTheSameObject) {
    FakeCharger charger;
    const sp<ZstatsPullerService> service(new ZstatsPullerService());
    ASSERT_EQ(mStatsd->waitForRegistrations(std::size(kTags)).size(), std::size(kTags));
    for (const int32_t tag : kTags) EXPECT_TRUE(mStatsd->pull(tag)) << tag;
    // Each object that reached the charger is told of its death: there is but one.
    charger.remote().die();
    EXPECT_EQ(mLog.count(ANDROID_LOG_ERROR, "charger service died, will try to reconnect."), 1u);
}

TEST_F(PullerService, levelZeroKeepsTheRegistrationToItself) {
    gLogLevel = 0;
    const sp<ZstatsPullerService> service(new ZstatsPullerService());
    EXPECT_FALSE(mLog.contains(ANDROID_LOG_INFO, "registerPullAtomCallback success"));
}

TEST_F(PullerService, withoutStatsdNothingIsRegisteredOrConnected) {
    inprocess::withdraw("stats");
    for (const int32_t level : {0, 1}) {
        SCOPED_TRACE(level);
        gLogLevel = level;
        mLog.clear();
        substitute::clearBpfCalls();
        const sp<ZstatsPullerService> service(new ZstatsPullerService());
        EXPECT_EQ(mLog.count(ANDROID_LOG_ERROR, "pullerd:  Get statsd service fail"), 1u);
        EXPECT_EQ(mLog.count(ANDROID_LOG_INFO, "pullerd: mStatsd is null"),
                  static_cast<size_t>(level));
        EXPECT_EQ(service->statsd(), nullptr);
        EXPECT_EQ(service->connectFd(), -1);
        EXPECT_TRUE(startsAndExits().empty());
    }
    PullRegistry::instance().join();
    mRemoteStatsd->drainOneway();
    EXPECT_TRUE(mStatsd->waitForRegistrations(0).empty());
}

TEST_F(PullerService, aServiceOfAnotherInterfaceIsNotTakenForStatsd) {
    inprocess::publish("stats", sp<android::IBinder>(new android::BBinder()));
    const sp<ZstatsPullerService> service(new ZstatsPullerService());
    EXPECT_EQ(service->statsd(), nullptr);
    EXPECT_TRUE(mLog.contains(ANDROID_LOG_ERROR, "pullerd:  Get statsd service fail"));
}

TEST_F(PullerService, theDeathOfStatsdEmptiesTheInterfaceForGood) {
    const sp<ZstatsPullerService> service(new ZstatsPullerService());
    mStatsd->waitForRegistrations(std::size(kTags));
    PullRegistry::instance().join();
    renewStatsd();
    EXPECT_EQ(service->statsd(), nullptr);
    EXPECT_EQ(mLog.count(ANDROID_LOG_ERROR, "statsd service died, will try to reconnect."), 1u);
    // The platform's library registers anew with the statsd that came; the service does nothing.
    const auto again = mStatsd->waitForRegistrations(std::size(kTags));
    ASSERT_EQ(again.size(), std::size(kTags));
    EXPECT_EQ(again[0].tag, 150005);
    EXPECT_EQ(again[0].timeoutMillis, 2000);
    EXPECT_EQ(service->statsd(), nullptr);
}

TEST_F(PullerService, noNoticeReachesAServiceThatIsGone) {
    sp<ZstatsPullerService> service(new ZstatsPullerService());
    mStatsd->waitForRegistrations(std::size(kTags));
    PullRegistry::instance().join();
    service.clear();
    renewStatsd();
    EXPECT_FALSE(mLog.contains(ANDROID_LOG_ERROR, "statsd service died"));
}

TEST_F(PullerService, opensTheKernelChannelsAndEndsTheLast) {
    const struct {
        const char* releaseType;
        std::vector<std::string> starts;
    } cases[] = {{"true", {kSched}}, {"false", {kSched, kCoreControl}}};
    for (const auto& row : cases) {
        properties::clearProperties();
        property_set("ro.build.release_type", row.releaseType);
        substitute::clearBpfCalls();
        // A profile each: only the last connection is ended, so the first one still listens.
        const SubstituteProfile profile;
        sp<ZstatsPullerService> service(new ZstatsPullerService());
        EXPECT_GE(service->connectFd(), 0);
        EXPECT_EQ(startsAndExits(), row.starts);
        substitute::clearBpfCalls();
        const std::string exit = "exit " + std::to_string(service->connectFd()) + " pullerd_kw";
        service.clear();
        EXPECT_EQ(startsAndExits(), std::vector<std::string>{exit});
    }
}

TEST_F(PullerService, anUnsupportedChannelLeavesTheDescriptorAsItWas) {
    mProfile.write("features", "bpf=unsupported\n");
    gLogLevel = 0;
    sp<ZstatsPullerService> service(new ZstatsPullerService());
    EXPECT_EQ(service->connectFd(), -1);
    EXPECT_EQ(mLog.count(ANDROID_LOG_WARN, "do not support zcvt"), 2u);
    mProfile.write("features", "");
    char path[] = "/bpf/later";
    service->connectZbpfForKorkerInner(path);
    const int32_t connected = service->connectFd();
    EXPECT_GE(connected, 0);
    mProfile.write("features", "bpf_region=0\n");
    service->connectZbpfForKorkerInner(path);
    EXPECT_EQ(service->connectFd(), connected);
}

TEST_F(PullerService, aRefusedConnectionIsToldAndItsValueKept) {
    mProfile.write("features", "bpf_connect=-5\n");
    property_set("ro.build.release_type", "true");
    for (const int32_t level : {0, 2}) {
        SCOPED_TRACE(level);
        gLogLevel = level;
        mLog.clear();
        substitute::clearBpfCalls();
        sp<ZstatsPullerService> service(new ZstatsPullerService());
        EXPECT_EQ(service->connectFd(), -5);
        EXPECT_EQ(mLog.count(ANDROID_LOG_WARN, "kworker connect fail fd = -5"), 1u);
        EXPECT_EQ(mLog.count(ANDROID_LOG_DEBUG, "kworker mConnectFd = -5"), level == 2 ? 1u : 0u);
        service.clear();
        EXPECT_EQ(substitute::bpfCalls().back(), "exit -5 pullerd_kw");
    }
}

TEST_F(PullerService, aRecordOfTheKernelBecomesAPushedAtom) {
    std::vector<substitute::WrittenAtom> atoms;
    substitute::observeStatsWrites([&](const auto& atom) { atoms.push_back(atom); });
    const sp<ZstatsPullerService> service(new ZstatsPullerService());
    substitute::Injection injection;
    injection.record = substitute::fatalDataRecord(7, 1, 2, 3, "x");
    EXPECT_EQ(substitute::injectRecord("/system_ext/bin/zcvt/norda_sched", injection), 0);
    substitute::observeStatsWrites(nullptr);
    ASSERT_EQ(atoms.size(), 1u);
    EXPECT_EQ(atoms[0].atomId, 100207);
    EXPECT_EQ(atoms[0].type, 7);
    EXPECT_EQ(atoms[0].info, "x");
}

}  // namespace
}  // namespace zstats
