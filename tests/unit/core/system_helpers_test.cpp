#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <time.h>

#include <cerrno>

#include "daemon/Log.h"
#include "daemon/SystemHelpers.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SubstituteProfile.h"
#include "tests/unit/core/Child.h"

namespace zstats {
namespace {

/** Sets the log level for the life of a test. */
class SystemHelpers : public testing::Test {
  protected:
    ~SystemHelpers() override { gLogLevel = 1; }

    SubstituteProfile mFiles;
};

struct Setting {
    const char* name;
    const char* value;  // null: the property is left out
};

void set(std::initializer_list<Setting> settings) {
    for (const Setting& setting : settings) {
        if (setting.value != nullptr) property_set(setting.name, setting.value);
    }
}

TEST_F(SystemHelpers, readFileAppendsFilesOfEverySizeAroundItsBuffer) {
    for (const size_t size : {0, 1, 1023, 1024, 1025, 2560}) {
        SCOPED_TRACE(size);
        std::string content;
        for (size_t i = 0; i < size; ++i) content += static_cast<char>('a' + i % 26);
        std::string out = "kept ";
        EXPECT_EQ(readFile(mFiles.write("node", content), &out), static_cast<int>(size));
        EXPECT_EQ(out, "kept " + content);
    }
}

TEST_F(SystemHelpers, readFileKeepsZeroBytes) {
    std::string out;
    EXPECT_EQ(readFile(mFiles.write("node", std::string("a\0b", 3)), &out), 3);
    EXPECT_EQ(out, std::string("a\0b", 3));
}

TEST_F(SystemHelpers, readFileTellsOfAMissingFileAtLevelTwoOnly) {
    LogCapture log;
    std::string out = "kept";
    EXPECT_EQ(readFile("/nowhere/node", &out), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(log.lines().empty());
    gLogLevel = 2;
    EXPECT_EQ(readFile("/nowhere/node", &out), -1);
    EXPECT_TRUE(log.contains(ANDROID_LOG_DEBUG,
                             "Open /nowhere/node failed(No such file or directory)"));
    EXPECT_EQ(out, "kept");
}

TEST_F(SystemHelpers, readFileTellsOfAFailingReadAtEveryLevel) {
    gLogLevel = 0;
    LogCapture log;
    std::string out = "kept";
    EXPECT_EQ(readFile("/proc", &out), -1);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_TRUE(log.contains(ANDROID_LOG_ERROR, "Read file /proc failed.(Is a directory)"));
    EXPECT_EQ(out, "kept");
}

TEST_F(SystemHelpers, splitStringReadsDecimalInts) {
    const struct {
        const char* text;
        const char* delimiters;
        std::vector<int> expected;
    } cases[] = {
            {"10, 20,,30", ", ", {10, 20, 30}},
            {"", ",", {}},
            {",,,", ",", {}},
            {"7", "", {7}},
            {"-5 +6 x 8y", " ", {-5, 6, 0, 8}},
            {"0x10 010", " ", {0, 10}},
            {"1\n2\t3", "\n\t", {1, 2, 3}},
            {" 4;5", ";", {4, 5}},
            {"2147483647", ",", {2147483647}},
            {"-2147483648", ",", {-2147483647 - 1}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        std::vector<int> out = {99};
        EXPECT_EQ(splitString(row.text, row.delimiters, &out), 0);
        std::vector<int> expected = {99};
        expected.insert(expected.end(), row.expected.begin(), row.expected.end());
        EXPECT_EQ(out, expected);
    }
}

TEST_F(SystemHelpers, splitStringReadsPrefixedLongNumbers) {
    const struct {
        const char* text;
        std::vector<long long> expected;
    } cases[] = {
            {"0x10 010", {16, 8}},
            {"9223372036854775807 -9223372036854775808", {INT64_MAX, INT64_MIN}},
            {"9223372036854775808", {INT64_MAX}},
            {"12ab 0x 08 zz", {12, 0, 0, 0}},
            {"  ", {}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        std::vector<long long> out;
        EXPECT_EQ(splitString(row.text, " ", &out), 0);
        EXPECT_EQ(out, row.expected);
    }
}

TEST_F(SystemHelpers, getSystemPropertyLogsItsAnswerAtLevelTwo) {
    property_set("test.helpers.name", "value");
    LogCapture log;
    EXPECT_EQ(getSystemProperty("test.helpers.name"), "value");
    EXPECT_EQ(getSystemProperty("test.helpers.absent"), "");
    EXPECT_TRUE(log.lines().empty());
    gLogLevel = 2;
    getSystemProperty("test.helpers.name");
    getSystemProperty("test.helpers.absent");
    EXPECT_TRUE(log.contains(ANDROID_LOG_DEBUG, "property test.helpers.name:value"));
    EXPECT_TRUE(log.contains(ANDROID_LOG_DEBUG, "property test.helpers.absent:"));
}

TEST_F(SystemHelpers, bootTimeLiesBetweenTwoReadingsOfTheBootClock) {
    const auto now = [] {
        timespec time = {};
        clock_gettime(CLOCK_BOOTTIME, &time);
        return int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
    };
    const int64_t before = now();
    const int64_t read = getBootTimeMs();
    EXPECT_LE(before, read);
    EXPECT_LE(read, now());
}

TEST_F(SystemHelpers, qcomIsTheWholeHardwareName) {
    const struct {
        const char* hardware;
        bool isQcom;
    } cases[] = {{"qcom", true}, {"qcom2", false},  {"Qcom", false},
                 {"qco", false}, {"mt6985", false}, {nullptr, false}};
    for (const auto& row : cases) {
        const Report report = inChild([&](Report& lines) {
            set({{"ro.hardware", row.hardware}});
            lines.push_back(isQcomPlatform() ? "qcom" : "other");
        });
        EXPECT_EQ(report, Report{row.isQcom ? "qcom" : "other"}) << (row.hardware ?: "absent");
    }
}

TEST_F(SystemHelpers, onlyTheWordFalseMakesABuildNoRelease) {
    const struct {
        const char* type;
        bool isRelease;
    } cases[] = {{"true", true}, {"false", false}, {"False", true}, {"0", true}, {nullptr, true}};
    for (const auto& row : cases) {
        const std::string type = row.type ?: "";
        const Report report = inChild([&](Report& lines) {
            set({{"ro.build.release_type", row.type}});
            gLogLevel = 0;
            LogCapture log;
            lines.push_back(isReleaseType() ? "release" : "trial");
            for (const LogLine& line : log.lines()) lines.push_back(line.text);
        });
        const Report expected = {row.isRelease ? "release" : "trial",
                                 "isReleaseType: releaseType: " + type};
        EXPECT_EQ(report, expected);
    }
}

TEST_F(SystemHelpers, preVersionAndCommercialVersionFollowThreeProperties) {
    const struct {
        const char* alwaysOn;
        const char* engineeringPre;
        const char* releaseType;
        const char* expected;
    } cases[] = {
            {nullptr, nullptr, nullptr, "final commercial"},
            {"true", nullptr, nullptr, "pre plain"},
            {"true", "false", "true", "pre plain"},
            {"TRUE", nullptr, "true", "final commercial"},
            {"1", "no", "true", "final commercial"},
            {nullptr, "true", "true", "pre plain"},
            {nullptr, "1", nullptr, "pre plain"},
            {nullptr, "yes", nullptr, "pre plain"},
            {nullptr, "on", nullptr, "pre plain"},
            {"false", "y", nullptr, "pre plain"},
            {nullptr, "True", nullptr, "final commercial"},
            {nullptr, "garbage", nullptr, "final commercial"},
            {nullptr, "false", "false", "final plain"},
    };
    for (const auto& row : cases) {
        const Report report = inChild([&](Report& lines) {
            set({{"persist.sys.alwayson.switch", row.alwaysOn},
                 {"ro.sys.engineering.pre", row.engineeringPre},
                 {"ro.build.release_type", row.releaseType}});
            lines.push_back(std::string(isPreVersion() ? "pre " : "final ") +
                            (isCommercialVersion() ? "commercial" : "plain"));
        });
        EXPECT_EQ(report, Report{row.expected})
                << (row.alwaysOn ?: "-") << ' ' << (row.engineeringPre ?: "-");
    }
}

TEST_F(SystemHelpers, theFirstAnswerAboutTheBuildStays) {
    const Report report = inChild([](Report& lines) {
        lines.push_back(isPreVersion() ? "pre" : "final");
        lines.push_back(isCommercialVersion() ? "commercial" : "plain");
        set({{"persist.sys.alwayson.switch", "true"}, {"ro.build.release_type", "false"}});
        LogCapture log;
        lines.push_back(isPreVersion() ? "pre" : "final");
        lines.push_back(isCommercialVersion() ? "commercial" : "plain");
        lines.push_back(std::to_string(log.lines().size()));
    });
    EXPECT_EQ(report, (Report{"final", "commercial", "final", "commercial", "0"}));
}

TEST_F(SystemHelpers, aTrialBuildIsNotAskedForItsPreVersion) {
    const Report report = inChild([](Report& lines) {
        set({{"ro.build.release_type", "false"}});
        gLogLevel = 2;
        LogCapture log;
        lines.push_back(isCommercialVersion() ? "commercial" : "plain");
        lines.push_back(log.contains(ANDROID_LOG_DEBUG, "property persist.sys.alwayson.switch:")
                                ? "asked"
                                : "not asked");
    });
    EXPECT_EQ(report, (Report{"plain", "not asked"}));
}

TEST_F(SystemHelpers, memTotalIsComparedStrictly) {
    const struct {
        const char* meminfo;
        bool isOk;
        int priority;
        const char* line;
    } cases[] = {
            {"MemTotal:        4194304 kB\n", false, ANDROID_LOG_INFO, "memTotal: 4194304Kb"},
            {"MemTotal:        4194305 kB\n", true, ANDROID_LOG_INFO, "memTotal: 4194305Kb"},
            {"MemTotal:        4194303 kB", false, ANDROID_LOG_INFO, "memTotal: 4194303Kb"},
            {"MemFree: 9 kB\nMemTotal: 5000000 kB\nMemTotal: 1 kB\n", true, ANDROID_LOG_INFO,
             "memTotal: 5000000Kb"},
            {" MemTotal: 5000000 kB\nx MemTotal: 5000000 kB\n", false, ANDROID_LOG_INFO,
             "memTotal: -1Kb"},
            {"", false, ANDROID_LOG_INFO, "memTotal: -1Kb"},
            {"MemTotal: -7 kB\n", false, ANDROID_LOG_INFO, "memTotal: -7Kb"},
            {"MemTotal:5000 kB\n", true, ANDROID_LOG_ERROR, "sscanf not match"},
            {"MemTotal:\t5000 kB\n", true, ANDROID_LOG_ERROR, "sscanf not match"},
            {"MemTotal: lots\n", true, ANDROID_LOG_ERROR, "sscanf not match"},
            {"MemTotalX: 1 kB\nMemTotal: 1 kB\n", true, ANDROID_LOG_ERROR, "sscanf not match"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.meminfo);
        const std::string path = mFiles.write("meminfo", row.meminfo);
        LogCapture log;
        EXPECT_EQ(checkMemTotalOkAt(path.c_str(), 4194304), row.isOk);
        EXPECT_TRUE(log.contains(row.priority, row.line));
        EXPECT_EQ(log.lines().size(), 1u);
    }
}

TEST_F(SystemHelpers, anUnreadableMeminfoLetsTheDaemonStart) {
    LogCapture log;
    EXPECT_TRUE(checkMemTotalOkAt("/nowhere/meminfo", 4194304));
    EXPECT_EQ(log.lines().size(), 1u);
    EXPECT_TRUE(log.contains(ANDROID_LOG_INFO, "Failed to open /proc/meminfo"));
}

}  // namespace
}  // namespace zstats
