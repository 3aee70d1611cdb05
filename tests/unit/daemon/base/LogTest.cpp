#include <gtest/gtest.h>

#include "daemon/base/Log.h"
#include "tests/support/LogCapture.h"

namespace zstats {
namespace {

TEST(LogDeathTest, StartsAtLevelOne) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";  // a process without any test before
    EXPECT_EXIT(_exit(100 + gLogLevel), testing::ExitedWithCode(101), "");
}

TEST(LogTest, GateIsIndependentOfPriority) {
    LogCapture log;
    expectLines(log, {"E always %", "D0 gate 0", "W1 gate 1", "E2 gate 2", "D3 gate 3"}, [] {
        ZLOG(ERROR, "%s %%", "always");
        ZLOG_AT(0, DEBUG, "gate %d", 0);
        ZLOG_AT(1, WARN, "gate %d", 1);
        ZLOG_AT(2, ERROR, "gate %d", 2);
        ZLOG_AT(3, DEBUG, "gate %d", 3);
    });
}

}  // namespace
}  // namespace zstats
