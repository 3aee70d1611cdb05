#include "daemon/Startup.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "daemon/SystemHelpers.h"
#include "tests/unit/core/Child.h"
#include "tests/unit/core/StatsdTest.h"

namespace zstats {
namespace {

constexpr char kFeatureOff[] = "feature=os.tool.quill.zstats_pullerd.enable off\n";

constexpr char kSmallMeminfo[] = "MemTotal:        4194304 kB\n";
constexpr char kEnabled[] = "D process isolation feature is enable.";
constexpr char kStart[] = "D start zstats_pullerd.";
constexpr char kSmall[] = "I memTotal: 4194304Kb";
constexpr char kStop[] = "request ctl.stop zstats_pullerd";

struct Device {
    const char* features = "";
    const char* meminfo = kSmallMeminfo;
    const char* releaseType = nullptr;
    const char* alwaysOn = nullptr;
    const char* startOverride = nullptr;
};

/** What gating says and does on the device, in a process of its own since it is decided once. */
Lines gate(const Device& device) {
    return inChild([&](Lines& report) {
        const SubstituteProfile profile;
        profile.write("features", device.features);
        const std::string meminfo = profile.write("meminfo", device.meminfo);
        setProperties({{"ro.build.release_type", device.releaseType},
                       {"persist.sys.alwayson.switch", device.alwaysOn},
                       {"persist.sys.zstats_pullerd.start", device.startOverride}});
        gLogLevel = 0;
        LogCapture log;
        properties::setControlHandler([&](const std::string& name, const std::string& value) {
            report = daemonLines(log);
            log.clear();
            report.push_back("request " + name + " " + value);
        });
        const bool runs = mayRunWith(
                [&](int thresholdKb) { return checkMemTotalOkAt(meminfo.c_str(), thresholdKb); });
        for (const std::string& line : daemonLines(log)) report.push_back(line);
        report.push_back(runs ? "runs" : "refused");
    });
}

TEST(StartupGate, aSwitchedOffFeatureRefusesBeforeAnythingElse) {
    const Lines expected = {"I os.tool.quill.zstats_pullerd.enable disabled.", kStop, "refused"};
    EXPECT_EQ(gate({kFeatureOff, "MemTotal: 9000000 kB\n"}), expected);
    EXPECT_EQ(gate({kFeatureOff, "", "false"}), expected);
    EXPECT_EQ(gate({"feature=os.tool.quill.other off\n"}).front(), kEnabled);
}

TEST(StartupGate, asksNoFurtherThanItHasTo) {
    const std::string type = "I isReleaseType: releaseType: ";
    const struct {
        Device device;
        Lines lines;  // between the feature's and the start's
    } cases[] = {{{"", "MemTotal: 4194305 kB\n", "true"}, {"I memTotal: 4194305Kb"}},
                 {{"", "MemTotal: what kB\n", "true"}, {"E sscanf not match"}},
                 {{"", kSmallMeminfo, "false"}, {kSmall, type + "false"}},
                 {{"", kSmallMeminfo, nullptr, "true"}, {kSmall, type}}};
    for (const auto& row : cases) {
        Lines expected = {kEnabled};
        expected.insert(expected.end(), row.lines.begin(), row.lines.end());
        expected.insert(expected.end(), {kStart, "runs"});
        EXPECT_EQ(gate(row.device), expected);
    }
}

TEST(StartupGate, aSmallCommercialDeviceRunsOnlyWhenToldSo) {
    const char* const absent = nullptr;
    for (const char* value : {"1", absent, "", "0", "true", "01", "1 ", "11"}) {
        Lines expected = {kEnabled, kSmall, "I isReleaseType: releaseType: true"};
        const std::string head = "It is Commercial Version, less than 4GB, ";
        if (value != absent && strcmp(value, "1") == 0) {
            expected.insert(expected.end(), {"D " + head + "start prop is true.", kStart, "runs"});
        } else {
            expected.insert(expected.end(),
                            {"I " + head + "zstats_pullerd is disabled.", kStop, "refused"});
        }
        EXPECT_EQ(gate({"", kSmallMeminfo, "true", "false", value}), expected);
    }
    EXPECT_EQ(gate({"", "MemFree: 9000000 kB\n"}).back(), "refused");
}

/** Publishing, with no statsd about: the main service then registers nothing. */
class StartupServe : public testing::Test {
  protected:
    StartupServe() { inprocess::reset(); }
    ~StartupServe() override { inprocess::reset(); }

    SubstituteProfile mProfile;
    LogCapture mLog;
};

TEST_F(StartupServe, publishesBothServicesInOrderAndServes) {
    EXPECT_EQ(serve(), 0);
    const auto added = inprocess::addedServices();
    ASSERT_EQ(added.size(), 2u);
    EXPECT_EQ(added[0].name, "atomacq");
    EXPECT_EQ(added[1].name, "zstats_pullerd");
    for (const auto& service : added) {
        EXPECT_FALSE(service.allowIsolated);
        EXPECT_EQ(service.dumpFlags, 8);
    }
    EXPECT_EQ(daemonLines(mLog),
              (Lines{"I zstats_pullerd daemon start", "I addService atomacq service success.",
                     "E pullerd:  Get statsd service fail", "I pullerd: mStatsd is null",
                     "I addService zstats_pullerd success.", "I zstats_pullerd daemon end"}));
}

TEST_F(StartupServe, withoutAtomacqTheMainServiceIsNeverMade) {
    inprocess::refuseService("atomacq", android::PERMISSION_DENIED);
    EXPECT_EQ(serve(), -1);
    EXPECT_TRUE(inprocess::addedServices().empty());
    EXPECT_EQ(daemonLines(mLog),
              (Lines{"I zstats_pullerd daemon start", "E Failed to add atomacq service"}));
}

TEST_F(StartupServe, aRefusedMainServiceEndsTheProcess) {
    inprocess::refuseService("zstats_pullerd", -3);
    EXPECT_EQ(serve(), -1);
    EXPECT_EQ(inprocess::addedServices().size(), 1u);
    EXPECT_EQ(daemonLines(mLog).back(), "E Failed to add zstats_pullerd service");
}

TEST_F(StartupServe, withoutAServiceManagerTheProcessEnds) {
    inprocess::hideServiceManager(true);
    EXPECT_EQ(serve(), -1);
    EXPECT_EQ(daemonLines(mLog).back(), "E Failed to add atomacq service");
}

}  // namespace
}  // namespace zstats
