#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "daemon/ZstatsPullerService.h"
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
    static Lines takeStartsAndExits() {
        Lines calls;
        for (const std::string& call : substitute::bpfCalls()) {
            if (call.find(' ') != std::string::npos) calls.push_back(call);
        }
        substitute::clearBpfCalls();
        return calls;
    }

    /** A service whose registrations have all gone out. */
    sp<ZstatsPullerService> newService() {
        const sp<ZstatsPullerService> service(new ZstatsPullerService());
        PullRegistry::instance().join();
        mRemoteStatsd->drainOneway();
        return service;
    }
};

TEST_F(PullerService, registersEveryAtomInTheOrderOfTheTable) {
    const sp<ZstatsPullerService> service = newService();
    const auto registrations = mStatsd->waitForRegistrations(std::size(kTags));
    ASSERT_EQ(registrations.size(), std::size(kTags));
    for (size_t i = 0; i < registrations.size(); ++i) {
        EXPECT_EQ(registrations[i].tag, kTags[i]) << i;
        EXPECT_EQ(registrations[i].coolDownMillis, 1000) << i;
        EXPECT_EQ(registrations[i].timeoutMillis, 2000) << i;
        EXPECT_TRUE(registrations[i].additiveFields.empty()) << i;
    }
    const std::string told =
            "pullerd:uid =" + std::to_string(getuid()) + " registerPullAtomCallback success";
    EXPECT_EQ(mLog.count(ANDROID_LOG_INFO, told), 1u);
    gLogLevel = 0;
    newService();
    EXPECT_EQ(mLog.count(ANDROID_LOG_INFO, told), 1u);
}

TEST_F(PullerService, everyPullIsAnsweredByOneAndTheSameObject) {
    FakeCharger charger;
    const sp<ZstatsPullerService> service = newService();
    for (const int32_t tag : kTags) EXPECT_TRUE(mStatsd->pull(tag)) << tag;
    // Each object that reached the charger is told of its death: there is but one.
    charger.remote().die();
    EXPECT_EQ(mLog.count(ANDROID_LOG_ERROR, "charger service died, will try to reconnect."), 1u);
}

TEST_F(PullerService, withoutStatsdNothingIsRegisteredOrConnected) {
    inprocess::withdraw("stats");
    for (const int32_t level : {0, 1}) {
        gLogLevel = level;
        mLog.clear();
        substitute::clearBpfCalls();
        const sp<ZstatsPullerService> service = newService();
        Lines expected = {"E pullerd:  Get statsd service fail"};
        if (level == 1) expected.push_back("I pullerd: mStatsd is null");
        EXPECT_EQ(daemonLines(mLog), expected);
        EXPECT_EQ(service->connectFd(), -1);
        EXPECT_TRUE(takeStartsAndExits().empty());
    }
    EXPECT_TRUE(mStatsd->waitForRegistrations(0).empty());
}

TEST_F(PullerService, aServiceOfAnotherInterfaceIsNotTakenForStatsd) {
    inprocess::publish("stats", sp<android::IBinder>(new android::BBinder()));
    newService();
    EXPECT_TRUE(mLog.contains(ANDROID_LOG_ERROR, "pullerd:  Get statsd service fail"));
}

TEST_F(PullerService, theDeathOfStatsdEmptiesTheInterfaceForGood) {
    sp<ZstatsPullerService> service = newService();
    const sp<android::IBinder> proxy = mRemoteStatsd->proxy();
    renewStatsd();
    EXPECT_EQ(mLog.count(ANDROID_LOG_ERROR, "statsd service died, will try to reconnect."), 1u);
    // The platform's library registers anew with the statsd that came; the service does nothing.
    EXPECT_EQ(mStatsd->waitForRegistrations(std::size(kTags)).size(), std::size(kTags));
    const int32_t references = proxy->getStrongCount();
    service.clear();
    EXPECT_EQ(proxy->getStrongCount(), references) << "the service still held statsd";
}

TEST_F(PullerService, noNoticeReachesAServiceThatIsGone) {
    newService().clear();
    renewStatsd();
    EXPECT_FALSE(mLog.contains(ANDROID_LOG_ERROR, "statsd service died"));
}

TEST_F(PullerService, opensTheKernelChannelsAndEndsTheLast) {
    const struct {
        const char* releaseType;
        Lines starts;
    } cases[] = {{"true", {kSched}}, {"false", {kSched, kCoreControl}}};
    for (const auto& row : cases) {
        properties::clearProperties();
        property_set("ro.build.release_type", row.releaseType);
        // A profile each: only the last connection is ended, so the first one still listens.
        const SubstituteProfile profile;
        sp<ZstatsPullerService> service = newService();
        EXPECT_GE(service->connectFd(), 0);
        EXPECT_EQ(takeStartsAndExits(), row.starts);
        const std::string exit = "exit " + std::to_string(service->connectFd()) + " pullerd_kw";
        service.clear();
        EXPECT_EQ(takeStartsAndExits(), Lines{exit});
    }
}

TEST_F(PullerService, anUnsupportedChannelLeavesTheDescriptorAsItWas) {
    mProfile.write("features", "bpf=unsupported\n");
    gLogLevel = 0;
    const sp<ZstatsPullerService> service = newService();
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
        gLogLevel = level;
        mLog.clear();
        sp<ZstatsPullerService> service = newService();
        EXPECT_EQ(service->connectFd(), -5);
        EXPECT_EQ(mLog.count(ANDROID_LOG_WARN, "kworker connect fail fd = -5"), 1u);
        EXPECT_EQ(mLog.count(ANDROID_LOG_DEBUG, "kworker mConnectFd = -5"), level == 2 ? 1u : 0u);
        service.clear();
        EXPECT_EQ(takeStartsAndExits().back(), "exit -5 pullerd_kw");
    }
}

TEST_F(PullerService, aRecordOfTheKernelBecomesAPushedAtom) {
    std::vector<int> atoms;
    substitute::observeStatsWrites([&](const auto& atom) { atoms.push_back(atom.atomId); });
    const sp<ZstatsPullerService> service = newService();
    const substitute::Injection record = {1, 0, substitute::fatalDataRecord(7, 1, 2, 3, "x")};
    EXPECT_EQ(substitute::injectRecord("/system_ext/bin/zcvt/norda_sched", record), 0);
    substitute::observeStatsWrites(nullptr);
    EXPECT_EQ(atoms, std::vector<int>{100207});
}

}  // namespace
}  // namespace zstats
