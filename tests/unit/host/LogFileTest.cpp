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

class LogFileTest : public testing::Test {
  protected:
    std::vector<std::string> lines() const {
        std::string content;
        EXPECT_TRUE(android::base::ReadFileToString(mFile.path, &content));
        std::vector<std::string> lines = android::base::Split(content, "\n");
        lines.pop_back();
        return lines;
    }

    /** The text after the tag in each line. */
    std::vector<std::string> texts() const {
        std::vector<std::string> texts = lines();
        for (std::string& text : texts)
            text = std::regex_replace(text, std::regex("^.* I tag: "), "");
        return texts;
    }

    TemporaryFile mFile;
    LogFile mLog{mFile.path};
};

TEST_F(LogFileTest, writesTheFormOfLogcatWithALetterForEachPriority) {
    const std::string letters = "VDIWEF";
    for (int i = 0; i < 6; ++i) mLog.write(ANDROID_LOG_VERBOSE + i, "some_tag", "a text: 5%");
    mLog.write(99, nullptr, "text");
    const std::vector<std::string> all = lines();
    ASSERT_EQ(all.size(), 7u);
    const std::string ids = " +" + std::to_string(getuid()) + " +" + std::to_string(getpid()) +
                            " +" + std::to_string(syscall(SYS_gettid)) + " ";
    for (size_t i = 0; i < letters.size(); ++i) {
        const std::regex form("\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}" + ids + letters[i] +
                              " some_tag: a text: 5%");
        EXPECT_TRUE(std::regex_match(all[i], form)) << all[i];
    }
    EXPECT_NE(all[6].find(" ? : text"), std::string::npos);
}

TEST_F(LogFileTest, makesALineOfEachLineOfAText) {
    const std::string longText(5000, 'x');
    for (const char* text : {"one\n", "two\n\nfour", "", longText.c_str()}) {
        EXPECT_TRUE(mLog.write(ANDROID_LOG_INFO, "tag", text));
    }
    EXPECT_EQ(texts(),
              (std::vector<std::string>{"one", "two", "", "four", "", std::string(4000, 'x')}));
}

TEST_F(LogFileTest, keepsLinesOfSeveralWritersWhole) {
    LogFile other(mFile.path);
    std::vector<std::thread> threads;
    for (LogFile* log : {&mLog, &other, &mLog}) {
        threads.emplace_back([log] {
            const std::string text(300, 'y');
            for (int i = 0; i < 200; ++i) log->write(ANDROID_LOG_INFO, "tag", text.c_str());
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(texts(), std::vector<std::string>(600, std::string(300, 'y')));
}

}  // namespace
}  // namespace zstats
