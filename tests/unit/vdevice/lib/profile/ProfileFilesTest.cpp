#include <android-base/file.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "vdevice/lib/profile/ProfileFiles.h"

namespace zstats::vdevice {
namespace {

using Strings = std::vector<std::string>;

TEST(ProfileFilesTest, readsWholeNumbersOnly) {
    const struct {
        const char* text;
        std::optional<int> value;
    } kCases[] = {{"-5", -5},           {"2147483647", 2147483647}, {"2147483648", std::nullopt},
                  {"", std::nullopt},   {"fail", std::nullopt},     {"5 ", std::nullopt},
                  {" 5", std::nullopt}, {"0x10", std::nullopt}};
    for (const auto& item : kCases) EXPECT_EQ(parseInt(item.text), item.value) << item.text;
}

TEST(ProfileFilesTest, takesLinesAndPairsApart) {
    EXPECT_EQ(profileLines("a\n\n# note\nb\nc"), (Strings{"a", "b", "c"}));
    EXPECT_TRUE(profileLines("").empty());
    const auto values = keyValueLines("a=1\nb=\nno pair\na=2\nc=x=y\n#d=4\n");
    EXPECT_EQ(values, (std::map<std::string, std::string>{{"a", "2"}, {"b", ""}, {"c", "x=y"}}));
}

class NodeSequenceTest : public testing::Test {
  protected:
    void put(const std::string& name, const std::string& text) const {
        ASSERT_TRUE(android::base::WriteStringToFile(text, std::string(mFolder.path) + "/" + name));
    }

    TemporaryDir mFolder;
    NodeSequence mNodes{mFolder.path};
};

TEST_F(NodeSequenceTest, areServedInTurnToEachReader) {
    put("gpu", "first");
    put("gpu.1", "second");
    const std::string third("\0bytes\n", 7);
    const std::pair<pid_t, std::string> kReads[] = {{100, "first"}, {100, "second"},
                                                    {200, "first"}, {100, third},
                                                    {100, third},   {200, "second"}};
    put("gpu.2", third);
    for (const auto& [reader, content] : kReads) EXPECT_EQ(mNodes.next(reader, "gpu"), content);

    // The files may change at any time.
    remove((std::string(mFolder.path) + "/gpu.2").c_str());
    EXPECT_EQ(mNodes.next(100, "gpu"), "second");
    put("gpu.2", "new");
    EXPECT_EQ(mNodes.next(100, "gpu"), "new");
    for (const char* key : {"", "absent", "../etc/passwd", "/etc/passwd"}) {
        EXPECT_EQ(mNodes.next(100, key), std::nullopt) << key;
    }
}

}  // namespace
}  // namespace zstats::vdevice
