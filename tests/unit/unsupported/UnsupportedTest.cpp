#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "vendor/include/feature_switch.h"
#include "vendor/include/stats_write.h"
#include "vendor/include/uah_client.h"
#include "vendor/include/zbpf_connection.h"

namespace {

/** The number of the next descriptor. */
int nextDescriptor() {
    const int fd = dup(STDERR_FILENO);
    close(fd);
    return fd;
}

// The answers on a product without the closed libraries.
TEST(UnsupportedTest, saysSoAtOnceAndOpensNothing) {
    const int before = nextDescriptor();
    EXPECT_TRUE(isOsFeatureEnabled("os.tool.quill.zstats_pullerd.enable"));
    EXPECT_EQ(zbpf_is_enable(), 0);
    EXPECT_EQ(zbpf_btf_support(), 0);
    EXPECT_EQ(zbpf_region_support(), 0);
    zbpf_connect_request request = {};
    EXPECT_EQ(zbpf_connect_start(&request), -ENOSYS);
    EXPECT_EQ(zbpf_connect_exit(-1, "pullerd_kw"), -ENOSYS);
    std::vector<UahRecord> records;
    EXPECT_EQ(Uah_fetch_dataset(&records), -ENOSYS);
    EXPECT_TRUE(records.empty());
    EXPECT_EQ(NordaFramework::stats_write(100207, 1, 2, 3, 4, "x"), -ENOSYS);
    EXPECT_EQ(nextDescriptor(), before);
}

}  // namespace
