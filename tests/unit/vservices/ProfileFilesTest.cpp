#include <android-base/file.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/lib/sources/CaldaReplies.h"
#include "vdevice/tools/zstats_record/NodeSamples.h"

namespace zstats::vdevice {
namespace {

using Strings = std::vector<std::string>;
using Words = std::vector<int32_t>;

TEST(ProfileFiles, readsWholeNumbersOnly) {
    const struct {
        const char* text;
        std::optional<int> value;
    } kCases[] = {{"-5", -5},           {"2147483647", 2147483647}, {"2147483648", std::nullopt},
                  {"", std::nullopt},   {"fail", std::nullopt},     {"5 ", std::nullopt},
                  {" 5", std::nullopt}, {"0x10", std::nullopt}};
    for (const auto& item : kCases) EXPECT_EQ(parseInt(item.text), item.value) << item.text;
}

TEST(ProfileFiles, takesLinesAndPairsApart) {
    EXPECT_EQ(profileLines("a\n\n# note\nb\nc"), (Strings{"a", "b", "c"}));
    EXPECT_TRUE(profileLines("").empty());
    const auto values = keyValueLines("a=1\nb=\nno pair\na=2\nc=x=y\n#d=4\n");
    EXPECT_EQ(values, (std::map<std::string, std::string>{{"a", "2"}, {"b", ""}, {"c", "x=y"}}));
}

class Nodes : public testing::Test {
  protected:
    void put(const std::string& name, const std::string& text) const {
        ASSERT_TRUE(android::base::WriteStringToFile(text, std::string(mFolder.path) + "/" + name));
    }

    TemporaryDir mFolder;
    NodeSequence mNodes{mFolder.path};
};

TEST_F(Nodes, areServedInTurnToEachReader) {
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

TEST(NodeFiles, areWhatASequenceServesAgain) {
    using Files = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(nodeFiles("k", {"a"}), (Files{{"k", "a"}}));
    EXPECT_EQ(nodeFiles("k", {"a", "a", "a"}), (Files{{"k", "a"}}));
    EXPECT_EQ(nodeFiles("k", {"a", "a", "b"}), (Files{{"k", "a"}, {"k.1", "a"}, {"k.2", "b"}}));
    EXPECT_EQ(nodeFiles("k", {"a", "b", "b"}), (Files{{"k", "a"}, {"k.1", "b"}}));
    EXPECT_TRUE(nodeFiles("k", {}).empty());
}

TEST(CaldaReplies, followTheProfile) {
    const std::string text = "status=3\nambient=-7\nvector=4 4 41000 38000 -37500 36900\n";
    const struct {
        std::string text;
        uint32_t code;
        int32_t transport;
        Words words;
    } kCases[] = {
            {text, kCaldaStatus, 0, {0, 3}},
            {text, kCaldaAmbient, 0, {-7}},
            {text, kCaldaAllTemperatures, 0, {4, 4, 41000, 38000, -37500, 36900}},
            {"vector=\n", kCaldaAllTemperatures, 0, {}},
            {text + "exception=-5\n", kCaldaStatus, 0, {-5}},
            {text + "exception=-5\n", kCaldaAmbient, 0, {-7}},
            {text + "exception=0\n", kCaldaStatus, 0, {0, 3}},
            {text + "transport_error=-32\n", kCaldaStatus, -32, {}},
            {text + "transport_error=-1\n", kCaldaAmbient, -1, {}},
    };
    for (const auto& item : kCases) {
        const auto reply = caldaReply(item.text, item.code);
        ASSERT_TRUE(reply.has_value()) << item.text << item.code;
        EXPECT_EQ(reply->transport, item.transport) << item.text << item.code;
        EXPECT_EQ(reply->words, item.words) << item.text << item.code;
    }
    for (uint32_t code : {4, 5, 21, 25}) EXPECT_FALSE(caldaReply("status=x\n", code)) << code;
}

}  // namespace
}  // namespace zstats::vdevice
