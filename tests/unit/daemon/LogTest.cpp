#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "daemon/base/Log.h"
#include "tests/support/LogCapture.h"

namespace zstats {
namespace {

TEST(LogDeathTest, StartsAtLevelOne) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";  // a process without any test before
    EXPECT_EXIT(_exit(100 + gLogLevel), testing::ExitedWithCode(101), "");
}

TEST(LogTest, GateIsIndependentOfPriority) {
    const std::vector<std::string> all = {"E always %", "D gate 0", "W gate 1", "E gate 2",
                                          "D gate 3"};
    const size_t written[] = {2, 3, 4, 5, 5};
    LogCapture log;
    for (int32_t level = 0; level < 5; ++level) {
        gLogLevel = level;
        ZLOG(ERROR, "%s %%", "always");
        ZLOG_AT(0, DEBUG, "gate %d", 0);
        ZLOG_AT(1, WARN, "gate %d", 1);
        ZLOG_AT(2, ERROR, "gate %d", 2);
        ZLOG_AT(3, DEBUG, "gate %d", 3);
        const auto end = all.begin() + static_cast<std::ptrdiff_t>(written[level]);
        EXPECT_EQ(log.take(), std::vector<std::string>(all.begin(), end)) << level;
    }
    gLogLevel = 1;
}

}  // namespace
}  // namespace zstats
