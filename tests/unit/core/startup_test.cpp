#include "daemon/Startup.h"

#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "daemon/Log.h"
#include "host/inprocess/InProcessBinder.h"
#include "host/properties/PropertyStore.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SubstituteProfile.h"
#include "tests/unit/core/Child.h"

namespace zstats {
namespace {

constexpr char kFeatureOff[] = "feature=os.tool.quill.zstats_pullerd.enable off\n";

constexpr char kEnabled[] = "D process isolation feature is enable.";
constexpr char kStart[] = "D start zstats_pullerd.";
constexpr char kSmall[] = "I memTotal: 4194304Kb";
constexpr char kStop[] = "request ctl.stop zstats_pullerd";

std::string describe(const LogLine& line) {
    const char* letters = "??VDIWEF";
    return std::string(1, letters[line.priority]) + " " + line.text;
}

struct Device {
    const char* features = "";
    const char* meminfo = "MemTotal:        4194304 kB\n";
    const char* releaseType = nullptr;
    const char* alwaysOn = nullptr;
    const char* startOverride = nullptr;
};

void setIf(const char* name, const char* value) {
    if (value != nullptr) property_set(name, value);
}

/** What gating says and does on the device, in a process of its own since it is decided once. */
Report gate(const Device& device) {
    return inChild([&](Report& report) {
        const SubstituteProfile profile;
        profile.write("features", device.features);
        const std::string meminfo = profile.write("meminfo", device.meminfo);
        setIf("ro.build.release_type", device.releaseType);
        setIf("persist.sys.alwayson.switch", device.alwaysOn);
        setIf("persist.sys.zstats_pullerd.start", device.startOverride);
        gLogLevel = 0;
        LogCapture log;
        properties::setControlHandler([&](const std::string& name, const std::string& value) {
            for (const LogLine& line : log.lines()) report.push_back(describe(line));
            log.clear();
            report.push_back("request " + name + " " + value);
        });
        const bool runs = mayRunWith(meminfo.c_str());
        for (const LogLine& line : log.lines()) report.push_back(describe(line));
        report.push_back(runs ? "runs" : "refused");
    });
}

TEST(StartupGate, aSwitchedOffFeatureRefusesBeforeAnythingElse) {
    const Report expected = {"I os.tool.quill.zstats_pullerd.enable disabled.", kStop, "refused"};
    EXPECT_EQ(gate({kFeatureOff, "MemTotal: 9000000 kB\n"}), expected);
    EXPECT_EQ(gate({kFeatureOff, "", "false"}), expected);
    EXPECT_EQ(gate({"feature=os.tool.quill.other off\n", "MemTotal: 9000000 kB\n"}),
              (Report{kEnabled, "I memTotal: 9000000Kb", kStart, "runs"}));
}

TEST(StartupGate, enoughMemoryRunsWithoutLookingAtTheBuild) {
    const struct {
        const char* meminfo;
        const char* line;
    } cases[] = {{"MemTotal: 4194305 kB\n", "I memTotal: 4194305Kb"},
                 {"MemTotal: what kB\n", "E sscanf not match"}};
    for (const auto& row : cases) {
        EXPECT_EQ(gate({"", row.meminfo, "true", nullptr, "0"}),
                  (Report{kEnabled, row.line, kStart, "runs"}));
    }
}

TEST(StartupGate, aSmallCommercialDeviceRunsOnlyWhenToldSo) {
    const struct {
        const char* startOverride;
        bool runs;
    } cases[] = {{"1", true},     {nullptr, false}, {"", false},   {"0", false},
                 {"true", false}, {"01", false},    {"1 ", false}, {"11", false}};
    for (const auto& row : cases) {
        Report expected = {kEnabled, kSmall, "I isReleaseType: releaseType: true"};
        if (row.runs) {
            expected.push_back("D It is Commercial Version, less than 4GB, start prop is true.");
            expected.push_back(kStart);
            expected.push_back("runs");
        } else {
            expected.push_back(
                    "I It is Commercial Version, less than 4GB, zstats_pullerd is disabled.");
            expected.push_back(kStop);
            expected.push_back("refused");
        }
        const Device device = {"", "MemTotal:        4194304 kB\n", "true", nullptr,
                               row.startOverride};
        EXPECT_EQ(gate(device), expected) << (row.startOverride ? row.startOverride : "absent");
    }
}

TEST(StartupGate, aSmallTrialDeviceRuns) {
    Device device;
    device.releaseType = "false";
    EXPECT_EQ(gate(device),
              (Report{kEnabled, kSmall, "I isReleaseType: releaseType: false", kStart, "runs"}));
    device.releaseType = nullptr;
    device.alwaysOn = "true";
    EXPECT_EQ(gate(device),
              (Report{kEnabled, kSmall, "I isReleaseType: releaseType: ", kStart, "runs"}));
    device.alwaysOn = "false";
    EXPECT_EQ(gate(device).back(), "refused");
}

TEST(StartupGate, aMeminfoWithoutItsLineCountsAsSmall) {
    Device device;
    device.meminfo = "MemFree: 9000000 kB\n";
    EXPECT_EQ(gate(device).back(), "refused");
    EXPECT_EQ(gate(device)[1], "I memTotal: -1Kb");
}

/** Publishing, with no statsd about: the main service then registers nothing. */
class StartupServe : public testing::Test {
  protected:
    StartupServe() { inprocess::reset(); }
    ~StartupServe() override { inprocess::reset(); }

    Report lines() const {
        Report report;
        for (const LogLine& line : mLog.linesOf("zstats_pullerd")) {
            report.push_back(describe(line));
        }
        return report;
    }

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
    EXPECT_EQ(lines(),
              (Report{"I zstats_pullerd daemon start", "I addService atomacq service success.",
                      "E pullerd:  Get statsd service fail", "I pullerd: mStatsd is null",
                      "I addService zstats_pullerd success.", "I zstats_pullerd daemon end"}));
}

TEST_F(StartupServe, withoutAtomacqTheMainServiceIsNeverMade) {
    inprocess::refuseService("atomacq", android::PERMISSION_DENIED);
    EXPECT_EQ(serve(), -1);
    EXPECT_TRUE(inprocess::addedServices().empty());
    EXPECT_EQ(lines(),
              (Report{"I zstats_pullerd daemon start", "E Failed to add atomacq service"}));
}

TEST_F(StartupServe, aRefusedMainServiceEndsTheProcess) {
    inprocess::refuseService("zstats_pullerd", -3);
    EXPECT_EQ(serve(), -1);
    EXPECT_EQ(inprocess::addedServices().size(), 1u);
    EXPECT_EQ(lines().back(), "E Failed to add zstats_pullerd service");
}

TEST_F(StartupServe, withoutAServiceManagerTheProcessEnds) {
    inprocess::hideServiceManager(true);
    EXPECT_EQ(serve(), -1);
    EXPECT_EQ(lines().back(), "E Failed to add atomacq service");
}

}  // namespace
}  // namespace zstats
