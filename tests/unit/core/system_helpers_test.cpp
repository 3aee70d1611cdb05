#include <android-base/chrono_utils.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "daemon/SystemHelpers.h"
#include "tests/unit/core/Child.h"
#include "tests/unit/core/StatsdTest.h"

namespace zstats {
namespace {

/** Sets the log level for the life of a test. */
class SystemHelpers : public testing::Test {
  protected:
    ~SystemHelpers() override { gLogLevel = 1; }

    SubstituteProfile mFiles;
};

TEST_F(SystemHelpers, readFileAppendsFilesOfEverySizeAroundItsBuffer) {
    for (const size_t size : {0, 1, 1023, 1024, 1025, 2560}) {
        std::string content;
        for (size_t i = 0; i < size; ++i) content += static_cast<char>(i % 26);
        std::string out = "kept ";
        EXPECT_EQ(readFile(mFiles.write("node", content), &out), static_cast<int>(size));
        EXPECT_EQ(out, "kept " + content) << size;
    }
}

TEST_F(SystemHelpers, readFileTellsOfAMissingFileAtLevelTwoAndOfAFailingReadAlways) {
    const struct {
        const char* path;
        int error;
        Lines lines;  // with the levels 0, 1 and 2
    } cases[] = {
            {"/nowhere/node", ENOENT, {"D Open /nowhere/node failed(No such file or directory)"}},
            {"/proc", EISDIR, Lines(3, "E Read file /proc failed.(Is a directory)")}};
    for (const auto& row : cases) {
        const LogCapture log;
        for (const int32_t level : {0, 1, 2}) {
            gLogLevel = level;
            std::string out = "kept";
            EXPECT_EQ(readFile(row.path, &out), -1);
            EXPECT_EQ(errno, row.error);
            EXPECT_EQ(out, "kept");
            EXPECT_TRUE(level == 2 || row.error == EISDIR || log.lines().empty());
        }
        EXPECT_EQ(daemonLines(log), row.lines);
    }
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
            {"2147483647 -2147483648", " ", {INT32_MAX, INT32_MIN}},
    };
    std::vector<int> out, expected;
    for (const auto& row : cases) {
        EXPECT_EQ(splitString(row.text, row.delimiters, &out), 0);
        // Each call appends.
        expected.insert(expected.end(), row.expected.begin(), row.expected.end());
        EXPECT_EQ(out, expected) << row.text;
    }
}

TEST_F(SystemHelpers, splitStringReadsPrefixedLongNumbers) {
    std::vector<long long> out;
    const std::string text =
            "0x10 010 12ab 0x 08 zz 9223372036854775807 9223372036854775808 -9223372036854775808";
    EXPECT_EQ(splitString(text.c_str(), " ", &out), 0);
    EXPECT_EQ(out, (std::vector<long long>{16, 8, 12, 0, 0, 0, INT64_MAX, INT64_MAX, INT64_MIN}));
}

TEST_F(SystemHelpers, getSystemPropertyLogsItsAnswerAtLevelTwo) {
    property_set("test.helpers.name", "value");
    LogCapture log;
    for (const int32_t level : {1, 2}) {
        gLogLevel = level;
        EXPECT_EQ(getSystemProperty("test.helpers.name"), "value");
        EXPECT_EQ(getSystemProperty("test.helpers.absent"), "");
    }
    EXPECT_EQ(daemonLines(log),
              (Lines{"D property test.helpers.name:value", "D property test.helpers.absent:"}));
}

TEST_F(SystemHelpers, bootTimeLiesBetweenTwoReadingsOfTheBootClock) {
    const auto now = [] {
        const auto sinceBoot = android::base::boot_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::milliseconds>(sinceBoot).count();
    };
    const int64_t before = now();
    const int64_t read = getBootTimeMs();
    EXPECT_LE(before, read);
    EXPECT_LE(read, now());
}

std::string describeBuild() {
    return std::string(isReleaseType() ? "release " : "trial ") +
           (isPreVersion() ? "pre " : "final ") + (isCommercialVersion() ? "commercial" : "plain");
}

TEST_F(SystemHelpers, theBuildIsWhatItsPropertiesSay) {
    const struct {
        const char *alwaysOn, *engineeringPre, *releaseType, *expected;
    } cases[] = {{nullptr, nullptr, nullptr, "release final commercial"},
                 {"true", "false", "true", "release pre plain"},
                 {"TRUE", nullptr, "false", "trial final plain"},
                 {"1", "no", "False", "release final commercial"},
                 {nullptr, "true", "0", "release pre plain"},
                 {nullptr, "1", nullptr, "release pre plain"},
                 {nullptr, "yes", nullptr, "release pre plain"},
                 {nullptr, "on", nullptr, "release pre plain"},
                 {"false", "y", "false", "trial pre plain"},
                 {nullptr, "True", nullptr, "release final commercial"},
                 {nullptr, "garbage", nullptr, "release final commercial"}};
    for (const auto& row : cases) {
        const Report report = inChild([&](Report& lines) {
            setProperties({{"persist.sys.alwayson.switch", row.alwaysOn},
                           {"ro.sys.engineering.pre", row.engineeringPre},
                           {"ro.build.release_type", row.releaseType}});
            lines = {describeBuild()};
        });
        EXPECT_EQ(report, Report{row.expected})
                << (row.alwaysOn ?: "-") << ' ' << (row.engineeringPre ?: "-");
    }
}

TEST_F(SystemHelpers, qcomIsTheWholeHardwareNameAndAskedForEachTime) {
    EXPECT_FALSE(isQcomPlatform());
    for (const char* hardware : {"qcom2", "Qcom", "qco", "mt6985", "qcom"}) {
        const Report report = inChild([&](Report& lines) {
            isQcomPlatform();
            setProperties({{"ro.hardware", hardware}});
            lines.push_back(isQcomPlatform() ? "qcom" : "other");
        });
        EXPECT_EQ(report[0], hardware == std::string("qcom") ? "qcom" : "other") << hardware;
    }
}

TEST_F(SystemHelpers, theFirstAnswerAboutTheBuildStays) {
    const Report report = inChild([](Report& lines) {
        const std::string first = describeBuild();
        setProperties({{"persist.sys.alwayson.switch", "true"}, {"ro.build.release_type", "false"}});
        const LogCapture log;
        lines = {first, describeBuild(), std::to_string(log.lines().size())};
    });
    EXPECT_EQ(report, (Report{"release final commercial", "trial final commercial", "1"}));
}

TEST_F(SystemHelpers, aTrialBuildIsNotAskedForItsPreVersion) {
    const Report report = inChild([](Report& lines) {
        setProperties({{"ro.build.release_type", "false"}});
        gLogLevel = 2;
        const LogCapture log;
        isCommercialVersion();
        lines = daemonLines(log);
    });
    EXPECT_EQ(report, (Report{"D property ro.build.release_type:false",
                              "I isReleaseType: releaseType: false"}));
}

TEST_F(SystemHelpers, memTotalIsComparedStrictly) {
    const struct {
        const char* meminfo;
        bool isOk;
        const char* line;
    } cases[] = {
            {"MemTotal:        4194304 kB\n", false, "I memTotal: 4194304Kb"},
            {"MemTotal:        4194305 kB\n", true, "I memTotal: 4194305Kb"},
            {"MemFree: 9 kB\nMemTotal: 5000000 kB\nMemTotal: 1 kB\n", true, "I memTotal: 5000000Kb"},
            {" MemTotal: 5000000 kB\nx MemTotal: 5000000 kB\n", false, "I memTotal: -1Kb"},
            {"MemTotal: -7 kB\n", false, "I memTotal: -7Kb"},
            {"MemTotal:5000 kB\n", true, "E sscanf not match"},
            {"MemTotal:\t5000 kB\n", true, "E sscanf not match"},
            {"MemTotal: lots\n", true, "E sscanf not match"},
            {"MemTotalX: 1 kB\nMemTotal: 1 kB\n", true, "E sscanf not match"},
            {nullptr, true, "I Failed to open /proc/meminfo"},
    };
    for (const auto& row : cases) {
        const std::string path =
                row.meminfo != nullptr ? mFiles.write("meminfo", row.meminfo) : "/nowhere/meminfo";
        const LogCapture log;
        EXPECT_EQ(checkMemTotalOkAt(path.c_str(), 4194304), row.isOk) << row.line;
        EXPECT_EQ(daemonLines(log), Lines{row.line});
    }
}

}  // namespace
}  // namespace zstats
