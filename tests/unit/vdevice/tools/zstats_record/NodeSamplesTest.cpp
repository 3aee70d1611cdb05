#include <gtest/gtest.h>

#include "vdevice/tools/zstats_record/NodeSamples.h"

namespace zstats::vdevice {
namespace {

TEST(NodeSamplesTest, areWhatASequenceServesAgain) {
    using Files = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(nodeFiles("k", {"a"}), (Files{{"k", "a"}}));
    EXPECT_EQ(nodeFiles("k", {"a", "a", "a"}), (Files{{"k", "a"}}));
    EXPECT_EQ(nodeFiles("k", {"a", "a", "b"}), (Files{{"k", "a"}, {"k.1", "a"}, {"k.2", "b"}}));
    EXPECT_EQ(nodeFiles("k", {"a", "b", "b"}), (Files{{"k", "a"}, {"k.1", "b"}}));
    EXPECT_TRUE(nodeFiles("k", {}).empty());
}

}  // namespace
}  // namespace zstats::vdevice
