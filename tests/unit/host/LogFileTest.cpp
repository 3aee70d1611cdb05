#include <android-base/file.h>
#include <android-base/strings.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "host/log/LogFile.h"

namespace zstats {
namespace {

using Lines = std::vector<std::string>;

class LogFileTest : public testing::Test {
  protected:
    /** The lines without the time and the ids that they begin with. */
    Lines lines(const std::string& threadId = "\\d+") const {
        std::string content;
        EXPECT_TRUE(android::base::ReadFileToString(mFile.path, &content));
        const std::regex head("\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} +" +
                              std::to_string(getuid()) + " +" + std::to_string(getpid()) + " +" +
                              threadId + " ");
        Lines lines = android::base::Split(std::regex_replace(content, head, ""), "\n");
        lines.pop_back();
        return lines;
    }

    TemporaryFile mFile;
    LogFile mLog{mFile.path};
};

TEST_F(LogFileTest, writesTheFormOfLogcatWithALetterForEachPriority) {
    for (int i = 0; i < 6; ++i) mLog.write(ANDROID_LOG_VERBOSE + i, "tag", "a text: 5%");
    mLog.write(99, nullptr, "text");
    EXPECT_EQ(lines(std::to_string(syscall(SYS_gettid))),
              (Lines{"V tag: a text: 5%", "D tag: a text: 5%", "I tag: a text: 5%",
                     "W tag: a text: 5%", "E tag: a text: 5%", "F tag: a text: 5%", "? : text"}));
}

TEST_F(LogFileTest, makesALineOfEachLineOfAText) {
    const std::string longText(5000, 'x');
    for (const char* text : {"one\n", "two\n\nfour", "", longText.c_str()}) {
        EXPECT_TRUE(mLog.write(ANDROID_LOG_INFO, "tag", text));
    }
    EXPECT_EQ(lines(), (Lines{"I tag: one", "I tag: two", "I tag: ", "I tag: four",
                              "I tag: ", "I tag: " + std::string(4000, 'x')}));
}

TEST_F(LogFileTest, keepsLinesOfSeveralWritersWhole) {
    LogFile other(mFile.path);
    const std::string text(300, 'y');
    std::vector<std::thread> threads;
    for (LogFile* log : {&mLog, &other, &mLog}) {
        threads.emplace_back([&text, log] {
            for (int i = 0; i < 200; ++i) log->write(ANDROID_LOG_INFO, "tag", text.c_str());
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(lines(), Lines(600, "I tag: " + text));
}

}  // namespace
}  // namespace zstats
