#include <cutils/properties.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "daemon/base/Log.h"
#include "daemon/base/SystemHelpers.h"
#include "host/properties/PropertyStore.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OwnEntries.h"
#include "tests/support/TempTree.h"
#include "tests/unit/daemon/Child.h"

namespace {

// Answers of the C library's functions below, on this thread.
thread_local std::optional<timespec> gBootTime;
thread_local bool gOutOfMemory = false;
thread_local int gReadsLeft = -1;  // until reads fail; -1: never

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    if (!gBootTime || clock != 7) return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    *now = *gBootTime;
    return now->tv_sec >= 0 ? 0 : -1;
}

extern "C" ssize_t read(int fd, void* data, size_t size) {
    if (gReadsLeft > 0)
        --gReadsLeft;
    else if (gReadsLeft == 0) {
        errno = EINTR;
        return -1;
    }
    return syscall(SYS_read, fd, data, size);
}

extern "C" char* strdup(const char* text) noexcept {
    return gOutOfMemory ? nullptr : strndup(text, strlen(text));
}

namespace zstats {
namespace {

class SystemHelpersTest : public testing::Test {
  protected:
    ~SystemHelpersTest() override { gLogLevel = 1; }

    const TempTree mFiles;
    LogCapture mLog;
};

TEST(LogDeathTest, StartsAtLevelOne) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a process without earlier tests
    EXPECT_EXIT(_exit(100 + gLogLevel), testing::ExitedWithCode(101), "");
}

TEST_F(SystemHelpersTest, ReadFileAppendsPiecesOfUpTo1024BytesAndClosesTheFile) {
    const auto before = ownEntries("fd");
    for (const size_t size : {0, 1, 1023, 1024, 1025, 2560}) {
        std::string content;
        for (size_t i = 0; i < size; ++i) content += static_cast<char>(i % 26);
        mFiles.write("node", content);
        std::string out = "kept ";
        EXPECT_EQ(readFile(mFiles.path("node"), &out), static_cast<int>(size));
        EXPECT_EQ(out, "kept " + content) << size;
    }
    // A read of this pipe discards the rest of a write.
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_DIRECT), 0);
    EXPECT_EQ(write(ends[1], "few", 3), 3);
    EXPECT_EQ(write(ends[1], std::string(2000, 'x').data(), 2000), 2000);
    EXPECT_EQ(write(ends[1], "end", 3), 3);
    close(ends[1]);
    std::string out;
    EXPECT_EQ(readFile("/proc/self/fd/" + std::to_string(ends[0]), &out), 1030);
    close(ends[0]);
    EXPECT_EQ(out, "few" + std::string(1024, 'x') + "end");
    EXPECT_EQ(ownEntries("fd"), before);
}

TEST_F(SystemHelpersTest, ReadFileTakesDescriptor0LikeAnyOther) {
    mFiles.write("node", "x");
    EXPECT_EQ(inChild([&](Lines& lines) {
                  close(0);
                  lines.emplace_back();
                  readFile(mFiles.path("node"), &lines[0]);
              }),
              Lines{"x"});
}

TEST_F(SystemHelpersTest, ReadFileTellsOfAMissingFileAtLevelTwoAndOfAFailingReadAlways) {
    const auto descriptors = ownEntries("fd");
    const std::string node = mFiles.path("node");
    mFiles.write("node", std::string(2000, 'x'));
    const std::tuple<std::string, int, std::string, std::string> rows[] = {
            {"/nowhere/x", ENOENT, "", "D2 Open /nowhere/x failed(No such file or directory)"},
            {"/proc", EISDIR, "", "E Read file /proc failed.(Is a directory)"},
            {node, EINTR, std::string(1024, 'x'),
             "E Read file " + node + " failed.(Interrupted system call)"}};
    for (const auto& [path, error, before, line] : rows) {
        expectLines(mLog, {line}, [&, &path = path, error = error, &before = before] {
            std::string out = "kept";
            gReadsLeft = error == EINTR ? 1 : -1;
            EXPECT_EQ(readFile(path, &out), -1);
            EXPECT_EQ(errno, error);
            gReadsLeft = -1;
            EXPECT_EQ(out, "kept" + before);
        });
    }
    EXPECT_EQ(ownEntries("fd"), descriptors);
}

TEST_F(SystemHelpersTest, SplitStringReadsDecimalIntsAndPrefixedLongNumbers) {
    const struct {
        const char* text;
        const char* delimiters;
        std::vector<int> ints;
        std::vector<long long> numbers;
    } rows[] = {{"10, 20,,30", ", ", {10, 20, 30}, {10, 20, 30}},
                {"", ",", {}, {}},
                {",,,", ",", {}, {}},
                {"7", "", {7}, {7}},
                {"-5 +6 x 8y", " ", {-5, 6, 0, 8}, {-5, 6, 0, 8}},
                {"0x10 010 08 0x 12ab", " ", {0, 10, 8, 0, 12}, {16, 8, 0, 0, 12}},
                {"1\n2\t3", "\n\t", {1, 2, 3}, {1, 2, 3}},
                {" 4;5", ";", {4, 5}, {4, 5}},
                {"2147483647 -2147483648 4294967297",
                 " ",
                 {INT32_MAX, INT32_MIN, 1},
                 {INT32_MAX, INT32_MIN, 4294967297}},
                {"9223372036854775808 -9223372036854775808", " ", {-1, 0}, {INT64_MAX, INT64_MIN}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        std::vector<int> ints = {7};
        std::vector<long long> numbers = {7};
        gOutOfMemory = true;
        EXPECT_EQ(splitString(row.text, row.delimiters, &ints), -1);
        EXPECT_EQ(splitString(row.text, row.delimiters, &numbers), -1);
        gOutOfMemory = false;
        EXPECT_EQ(splitString(row.text, row.delimiters, &ints), 0);
        EXPECT_EQ(splitString(row.text, row.delimiters, &numbers), 0);
        auto expectedInts = row.ints;  // appended
        auto expectedNumbers = row.numbers;
        expectedInts.insert(expectedInts.begin(), 7);
        expectedNumbers.insert(expectedNumbers.begin(), 7);
        EXPECT_EQ(ints, expectedInts);
        EXPECT_EQ(numbers, expectedNumbers);
    }
}

TEST_F(SystemHelpersTest, GetSystemPropertyLogsItsAnswerAtLevelTwo) {
    property_set("test.helpers.name", "value");
    expectLines(mLog, {"D2 property test.helpers.name:value", "D2 property test.helpers.absent:"},
                [] {
                    EXPECT_EQ(getSystemProperty("test.helpers.name"), "value");
                    EXPECT_EQ(getSystemProperty("test.helpers.absent"), "");
                });
}

TEST_F(SystemHelpersTest, BootTimeIsInWholeMillisecondsOrMinusOne) {
    const std::pair<timespec, int64_t> rows[] = {{{0, 999999}, 0},
                                                 {{12, 1000000}, 12001},
                                                 {{4294967, 999999999}, 4294967999},
                                                 {{-1, 0}, -1}};
    for (const auto& [clock, millis] : rows) {
        gBootTime = clock;
        EXPECT_EQ(getBootTimeMs(), millis);
        gBootTime.reset();
    }
}

std::string describeBuild() {
    return std::string(isReleaseType() ? "release " : "trial ") +
           (isPreVersion() ? "pre " : "final ") + (isCommercialVersion() ? "commercial" : "plain");
}

TEST_F(SystemHelpersTest, TheBuildIsWhatItsPropertiesSay) {
    const struct {
        const char *alwaysOn, *engineeringPre, *releaseType, *expected;
    } rows[] = {{nullptr, nullptr, nullptr, "release final commercial"},
                {"true", "false", "true", "release pre plain"},
                {"TRUE", nullptr, "false", "trial final plain"},
                {"1", "no", "False", "release final commercial"},
                {nullptr, "true", "0", "release pre plain"},
                {nullptr, "1", nullptr, "release pre plain"},
                {"false", "y", "false", "trial pre plain"},
                {nullptr, "True", nullptr, "release final commercial"}};
    for (const auto& row : rows) {
        const Lines report = inChild([&](Lines& lines) {
            setProperties({{"persist.sys.alwayson.switch", row.alwaysOn},
                           {"ro.sys.engineering.pre", row.engineeringPre},
                           {"ro.build.release_type", row.releaseType}});
            lines = {describeBuild()};
        });
        EXPECT_EQ(report, Lines{row.expected})
                << (row.alwaysOn ?: "-") << ' ' << (row.engineeringPre ?: "-");
    }
}

/**
 * The first answers are kept, a trial build does not read the pre-version property, and type and
 * hardware are read again.
 */
TEST_F(SystemHelpersTest, TheBuildIsAskedForOnceAndTheHardwareEachTime) {
    const Lines report = inChild([](Lines& lines) {
        gLogLevel = 2;
        LogCapture log;
        setProperties({{"ro.build.release_type", "false"}});
        lines = {isCommercialVersion() ? "commercial" : "plain"};
        properties::clearProperties();
        setProperties({{"ro.build.release_type", "true"}, {"ro.sys.engineering.pre", "true"}});
        lines.push_back(isCommercialVersion() ? "commercial" : "plain");
        lines.push_back(isReleaseType() ? "release" : "trial");
        for (const char* alwaysOn : {"true", "false"}) {
            setProperties({{"persist.sys.alwayson.switch", alwaysOn}});
            lines.push_back(isPreVersion() ? "pre" : "final");
        }
        lines = lines + log.take();
        for (const char* hardware : {"", "qcom2", "Qcom", "qco", "mt6985", "qcom"}) {
            properties::clearProperties();
            setProperties({{"ro.hardware", hardware}});
            if (isQcomPlatform()) lines.emplace_back(hardware);
        }
    });
    EXPECT_EQ(report,
              (Lines{"plain", "plain", "release", "pre", "pre",
                     "D property ro.build.release_type:false", "I isReleaseType: releaseType: false",
                     "D property ro.build.release_type:true", "I isReleaseType: releaseType: true",
                     "D property persist.sys.alwayson.switch:true", "qcom"}));
}

TEST_F(SystemHelpersTest, MemTotalIsComparedStrictly) {
    const struct {
        const char* meminfo;
        bool isOk;
        const char* line;
    } cases[] = {{"MemTotal:        4194304 kB\n", false, "I memTotal: 4194304Kb"},
                 {"MemTotal:        4194305 kB\n", true, "I memTotal: 4194305Kb"},
                 {"MemFree: 9 kB\nMemTotal: 5000000 kB\nMemTotal: 1 kB\n", true,
                  "I memTotal: 5000000Kb"},
                 {"a:\nb:\nc:\nd:\ne:\nf:\nMemTotal: 5000000 kB\n", true, "I memTotal: 5000000Kb"},
                 {" MemTotal: 5000000 kB\nx MemTotal: 5000000 kB\n", false, "I memTotal: -1Kb"},
                 {"MemTotal: -7 kB\n", false, "I memTotal: -7Kb"},
                 {"MemTotal:5000 kB\n", true, "E sscanf not match"},
                 {"MemTotal:\t5000 kB\n", true, "E sscanf not match"},
                 {"MemTotal: lots\n", true, "E sscanf not match"},
                 {"MemTotalX: 1 kB\nMemTotal: 1 kB\n", true, "E sscanf not match"},
                 {nullptr, true, "I Failed to open /proc/meminfo"}};
    for (const auto& row : cases) {
        mFiles.write("meminfo", row.meminfo != nullptr ? row.meminfo : "");
        const std::string path = mFiles.path(row.meminfo != nullptr ? "meminfo" : "absent");
        expectLines(mLog, {row.line}, [&] {
            EXPECT_EQ(checkMemTotalOkAt(path.c_str(), 4194304), row.isOk) << row.line;
        });
    }
}

}  // namespace
}  // namespace zstats
