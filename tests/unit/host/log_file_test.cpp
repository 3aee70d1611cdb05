#include <android-base/file.h>
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "host/log/LogFile.h"

namespace zstats {
namespace {

class LogFileTest : public testing::Test {
  protected:
    std::vector<std::string> lines() {
        std::string content;
        EXPECT_TRUE(android::base::ReadFileToString(mFile.path, &content));
        EXPECT_TRUE(content.empty() || content.back() == '\n');
        std::vector<std::string> result;
        std::istringstream stream(content);
        for (std::string line; std::getline(stream, line);) result.push_back(line);
        return result;
    }

    /** What stands behind the tag in each line. */
    std::vector<std::string> texts(const std::string& head = " I tag: ") {
        std::vector<std::string> result;
        for (const std::string& line : lines()) {
            const size_t at = line.find(head);
            if (at == std::string::npos) {
                ADD_FAILURE() << line;
            } else {
                result.push_back(line.substr(at + head.size()));
            }
        }
        return result;
    }

    TemporaryFile mFile;
    LogFile mLog{mFile.path};
};

TEST_F(LogFileTest, writesTheFormOfLogcat) {
    EXPECT_TRUE(mLog.write(ANDROID_LOG_WARN, "some_tag", "a text: 5%"));
    ASSERT_EQ(lines().size(), 1u);
    std::smatch parts;
    const std::string line = lines()[0];
    ASSERT_TRUE(std::regex_match(
            line, parts,
            std::regex("\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} +(\\d+) +(\\d+) +(\\d+) W "
                       "some_tag: a text: 5%")))
            << line;
    EXPECT_EQ(parts[1], std::to_string(getuid()));
    EXPECT_EQ(parts[2], std::to_string(getpid()));
    EXPECT_EQ(parts[3], std::to_string(syscall(SYS_gettid)));
}

TEST_F(LogFileTest, makesALineOfEachLineOfAText) {
    const std::string longText(5000, 'x');
    for (const char* text : {"one\n", "two\n\nfour", "", longText.c_str()}) {
        EXPECT_TRUE(mLog.write(ANDROID_LOG_INFO, "tag", text));
    }
    EXPECT_EQ(texts(),
              (std::vector<std::string>{"one", "two", "", "four", "", std::string(4000, 'x')}));
}

TEST_F(LogFileTest, namesEachPriorityByItsLetter) {
    const char letters[] = "VDIWEF";
    for (int i = 0; i < 6; ++i) mLog.write(ANDROID_LOG_VERBOSE + i, "tag", "text");
    mLog.write(99, nullptr, "text");
    const std::vector<std::string> all = lines();
    ASSERT_EQ(all.size(), 7u);
    for (size_t i = 0; i < 6; ++i) {
        EXPECT_NE(all[i].find(std::string(" ") + letters[i] + " tag: "), std::string::npos);
    }
    EXPECT_NE(all[6].find(" ? : text"), std::string::npos);
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

TEST(LogFileAbsentTest, writesOnceThereIsAFile) {
    TemporaryDir dir;
    const std::string path = std::string(dir.path) + "/main";
    LogFile log(path.c_str());
    EXPECT_FALSE(log.write(ANDROID_LOG_INFO, "tag", "lost"));
    EXPECT_NE(access(path.c_str(), F_OK), 0);
    ASSERT_TRUE(android::base::WriteStringToFile("", path));
    EXPECT_TRUE(log.write(ANDROID_LOG_INFO, "tag", "kept"));
    std::string content;
    ASSERT_TRUE(android::base::ReadFileToString(path, &content));
    EXPECT_NE(content.find(": kept\n"), std::string::npos);
    unlink(path.c_str());
}

}  // namespace
}  // namespace zstats
