#include <android-base/file.h>
#include <android-base/strings.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "daemon/Startup.h"
#include "daemon/base/Log.h"
#include "host/properties/PropertyStore.h"
#include "tests/support/InProcessBinder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessCalls.h"
#include "tests/support/libraries/FakeLibraries.h"
#include "tests/unit/daemon/Child.h"

namespace zstats {
namespace {

constexpr char kFeature[] = "os.tool.quill.zstats_pullerd.enable";
constexpr char kEnabled[] = "D process isolation feature is enable.";
constexpr char kStart[] = "D start zstats_pullerd.";
const Lines kServes = {"I zstats_pullerd daemon start", "I addService atomacq service success.",
                       "E pullerd:  Get statsd service fail",
                       "I addService zstats_pullerd success.", "I zstats_pullerd daemon end"};

/** The log lines, requests to init and result of `run`. */
template <typename Run>
Lines outcome(bool featureEnabled, const Run& run) {
    gLibraries = {};
    gLibraries.featureEnabled = featureEnabled;
    gLogLevel = 0;  // all lines are ungated
    LogCapture log;
    Lines lines;
    properties::setControlHandler([&](const std::string& name, const std::string& value) {
        lines = log.take() + Lines{"request " + name + " " + value};
    });
    const int result = run();
    lines = lines + log.take() + Lines{"returns " + std::to_string(result)};
    const std::string asked = std::string("isOsFeatureEnabled ") + kFeature;
    return gLibraries.calls[0] == asked ? lines : Lines{"another question first"};
}

/** Each in a child process, because the build is read once for each process. */
TEST(StartupTest, AsksNoFurtherThanItHasToBeforeItRunsOrRefuses) {
    const std::string type = "I isReleaseType: releaseType: ";
    const std::string commercial = "It is Commercial Version, less than 4GB, ";
    const Lines refused = {type + "true", "I " + commercial + "zstats_pullerd is disabled.",
                           "request ctl.stop zstats_pullerd", "returns 0"};
    const Lines forced = {type + "true", "D " + commercial + "start prop is true.", kStart,
                          "returns 1"};
    const struct {
        bool memoryOk;
        const char *releaseType, *alwaysOn, *start;  // properties
        Lines lines;
    } rows[] = {{true, "true", nullptr, nullptr, {kStart, "returns 1"}},
                {false, "false", nullptr, nullptr, {type + "false", kStart, "returns 1"}},
                {false, nullptr, "true", nullptr, {type, kStart, "returns 1"}},
                {false, "true", "false", "1", forced},
                {false, "true", "false", nullptr, refused},
                {false, "true", "false", "0", refused},
                {false, "true", "false", "true", refused},
                {false, "true", "false", "01", refused},
                {false, "true", "false", "1 ", refused},
                {false, "true", "false", "11", refused}};
    for (const auto& row : rows) {
        const auto mayRunHere = [&row] {
            setProperties({{"ro.build.release_type", row.releaseType},
                           {"persist.sys.alwayson.switch", row.alwaysOn},
                           {"persist.sys.zstats_pullerd.start", row.start}});
            return mayRunWith([&row](int thresholdKb) {
                ZLOG(INFO, "above %d?", thresholdKb);
                return row.memoryOk;
            });
        };
        EXPECT_EQ(inChild([&](Lines& report) { report = outcome(true, mayRunHere); }),
                  (Lines{kEnabled, "I above 4194304?"} + row.lines));
    }
}

/** The log lines of the whole daemon; exit status 77 if it does not ignore SIGPIPE. */
std::string daemonRun(bool featureEnabled) {
    const Lines lines = outcome(featureEnabled, [] {
        inprocess::reset();
        setProperties({{"persist.sys.zstats_pullerd.start", "1"}});
        signal(SIGPIPE, SIG_DFL);
        const int status = runDaemon();
        return signal(SIGPIPE, SIG_DFL) == SIG_IGN ? status : 77;
    });
    return android::base::Join(lines, '\n');
}

// In a newly executed process: binder does not work in the child of a process that has used it.
TEST(StartupDeathTest, IgnoresBrokenPipesDecidesByTheRealMemoryAndServes) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    std::string meminfo;
    ASSERT_TRUE(android::base::ReadFileToString("/proc/meminfo", &meminfo));
    const int total = atoi(meminfo.substr(meminfo.find(':') + 1).c_str());
    Lines decision = {kEnabled, "I memTotal: " + std::to_string(total) + "Kb"};
    if (total <= 4194304) {
        decision =
                decision + Lines{"I isReleaseType: releaseType: ",
                                 "D It is Commercial Version, less than 4GB, start prop is true."};
    }
    const Lines served = decision + Lines{kStart} + kServes + Lines{"returns 0"};
    const Lines refused = {std::string("I ") + kFeature + " disabled.",
                           "request ctl.stop zstats_pullerd", "returns -1"};
    for (const bool enabled : {true, false}) {
        EXPECT_EXIT(
                {
                    fputs(daemonRun(enabled).c_str(), stderr);
                    _exit(0);
                },
                testing::ExitedWithCode(0),
                testing::Eq(android::base::Join(enabled ? served : refused, '\n')));
    }
}

/** Publishing without statsd: the main service then registers no atoms. */
class ServeTest : public testing::Test {
  protected:
    ServeTest() {
        inprocess::reset();
        gLibraries = {};
        gLogLevel = 0;
        properties::setControlHandler([](const std::string& name, const std::string&) {
            ADD_FAILURE() << name << ": init is to start the daemon again";
        });
        takeProcessCalls();
    }
    ~ServeTest() override {
        inprocess::reset();
        gLogLevel = 1;
    }

    LogCapture mLog;
};

TEST_F(ServeTest, PublishesInOrderAndServesOnFourThreadsAndItsOwn) {
    android::wp<android::IBinder> atomacq;
    Lines atExit;
    gLibraries.atExit = [&] {
        atExit = mLog.take();
        EXPECT_NE(atomacq.promote(), nullptr) << "the main service is let go of first";
    };
    whileJoined([&] {
        Lines added;
        for (const auto& service : inprocess::addedServices()) {
            added.push_back(service.name + " " + std::to_string(service.allowIsolated) + " " +
                            std::to_string(service.dumpFlags) + " " +
                            android::String8(service.binder->getInterfaceDescriptor()).c_str());
        }
        EXPECT_EQ(added, (Lines{"atomacq 0 8 com.norda.quill.IAtomsAcquire",
                                "zstats_pullerd 0 8 com.norda.zstats.IZstatsPullerService"}));
        atomacq = inprocess::addedServices()[0].binder;
        inprocess::reset();
    });
    EXPECT_EQ(publishAndServe(), 0);
    EXPECT_EQ(takeProcessCalls(), (Lines{"setThreadPoolMaxThreadCount 4", "startThreadPool",
                                         "giveThreadPoolName", "joinThreadPool 1"}));
    EXPECT_EQ(atExit, kServes);
    EXPECT_EQ(gLibraries.takeCalls(), Lines{"zbpf_connect_exit -1 pullerd_kw"});
    EXPECT_EQ(atomacq.promote(), nullptr);
}

TEST_F(ServeTest, EndsWhenANameIsRefusedByAnyStatus) {
    const Lines noAtomacq = {kServes[0], "E Failed to add atomacq service"};
    const Lines noMain = {kServes[0], kServes[1], kServes[2],
                          "E Failed to add zstats_pullerd service"};
    const struct {
        const char* name;
        android::status_t status;
        Lines lines;
        Lines calls;  // of the main service, if it was constructed
    } rows[] = {{"atomacq", android::PERMISSION_DENIED, noAtomacq, {}},
                {"atomacq", 1, noAtomacq, {}},
                {nullptr, 0, noAtomacq, {}},
                {"zstats_pullerd", -3, noMain, {"zbpf_connect_exit -1 pullerd_kw"}},
                {"zstats_pullerd", 1, noMain, {"zbpf_connect_exit -1 pullerd_kw"}}};
    for (const auto& row : rows) {
        inprocess::reset();
        if (row.name != nullptr) inprocess::refuseService(row.name, row.status);
        inprocess::hideServiceManager(row.name == nullptr);
        EXPECT_EQ(publishAndServe(), -1);
        EXPECT_EQ(mLog.take(), row.lines);
        EXPECT_EQ(gLibraries.takeCalls(), row.calls);
        EXPECT_EQ(inprocess::addedServices().size(), row.calls.size());
    }
    EXPECT_EQ(takeProcessCalls(), Lines{});
}

}  // namespace
}  // namespace zstats
