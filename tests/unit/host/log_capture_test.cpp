#include <gtest/gtest.h>

#include <thread>

#include "tests/support/LogCapture.h"

namespace zstats {
namespace {

TEST(LogCaptureTest, keepsEveryPriorityInOrderForItsLifetime) {
    __android_log_print(ANDROID_LOG_ERROR, "tag", "before");
    LogCapture log;
    for (int priority = ANDROID_LOG_VERBOSE; priority <= ANDROID_LOG_FATAL; ++priority) {
        __android_log_print(priority, "tag", "line %d", priority);
    }
    __android_log_print(ANDROID_LOG_INFO, "other", "line 9\n");
    ASSERT_EQ(log.lines().size(), 7u);
    EXPECT_EQ(log.lines()[6].text, "line 9\n");
    EXPECT_EQ(log.linesOf("tag").size(), 6u);
    EXPECT_TRUE(log.contains(ANDROID_LOG_VERBOSE, "line 2"));
    EXPECT_FALSE(log.contains(ANDROID_LOG_DEBUG, "line 2"));
    EXPECT_EQ(log.count(ANDROID_LOG_INFO, "line"), 2u);
    log.clear();
    EXPECT_TRUE(log.lines().empty());
}

TEST(LogCaptureTest, collectsFromAllThreads) {
    LogCapture log;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int line = 0; line < 100; ++line) {
                __android_log_print(ANDROID_LOG_DEBUG, "thread", "line");
            }
        });
    }
    EXPECT_TRUE(log.waitFor(ANDROID_LOG_DEBUG, "line"));
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "line"), 400u);
    EXPECT_FALSE(log.waitFor(ANDROID_LOG_DEBUG, "none", std::chrono::milliseconds(0)));
}

}  // namespace
}  // namespace zstats
