#include <android-base/file.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "vdevice/common/CaldaReplies.h"
#include "vdevice/common/NodeSamples.h"
#include "vdevice/common/ProfileFiles.h"

namespace zstats::vdevice {
namespace {

using Strings = std::vector<std::string>;
using Words = std::vector<int32_t>;

TEST(ProfileFiles, readsWholeNumbersOnly) {
    const struct {
        const char* text;
        std::optional<int> value;
    } kCases[] = {{"0", 0},
                  {"-5", -5},
                  {"2147483647", 2147483647},
                  {"2147483648", std::nullopt},
                  {"", std::nullopt},
                  {"fail", std::nullopt},
                  {"5 ", std::nullopt},
                  {" 5", std::nullopt},
                  {"5.0", std::nullopt},
                  {"0x10", std::nullopt}};
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
    put("gpu.2", "third");
    EXPECT_EQ(mNodes.next(100, "gpu"), "first");
    EXPECT_EQ(mNodes.next(100, "gpu"), "second");
    EXPECT_EQ(mNodes.next(200, "gpu"), "first");
    EXPECT_EQ(mNodes.next(100, "gpu"), "third");
    EXPECT_EQ(mNodes.next(100, "gpu"), "third");
    EXPECT_EQ(mNodes.next(200, "gpu"), "second");
}

TEST_F(Nodes, showChangesOfTheirFiles) {
    put("level", "80");
    EXPECT_EQ(mNodes.next(1, "level"), "80");
    put("level", std::string("\0bytes\n", 7));
    EXPECT_EQ(mNodes.next(1, "level"), std::string("\0bytes\n", 7));
    put("level.1", "79");
    EXPECT_EQ(mNodes.next(1, "level"), "79");
    remove((std::string(mFolder.path) + "/level.1").c_str());
    EXPECT_EQ(mNodes.next(1, "level"), std::string("\0bytes\n", 7));
    remove((std::string(mFolder.path) + "/level").c_str());
    EXPECT_EQ(mNodes.next(1, "level"), std::nullopt);
}

TEST_F(Nodes, refuseWhatIsNoKey) {
    for (const char* key : {"", "absent", "../etc/passwd", "/etc/passwd"}) {
        EXPECT_EQ(mNodes.next(1, key), std::nullopt) << key;
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
    constexpr char kText[] = "status=3\nambient=-7\nvector=4 4 41000 38000 -37500 36900\n";
    const struct {
        const char* name;
        std::string text;
        uint32_t code;
        int32_t transport;
        Words words;
    } kCases[] = {
            {"status", kText, kCaldaStatus, 0, {0, 3}},
            {"ambient", kText, kCaldaAmbient, 0, {-7}},
            {"vector", kText, kCaldaAllTemperatures, 0, {4, 4, 41000, 38000, -37500, 36900}},
            {"no words", "vector=\n", kCaldaAllTemperatures, 0, {}},
            {"exception", std::string(kText) + "exception=-5\n", kCaldaStatus, 0, {-5}},
            {"exception is for status", std::string(kText) + "exception=-5\n", kCaldaAmbient, 0, {-7}},
            {"no exception", std::string(kText) + "exception=0\n", kCaldaStatus, 0, {0, 3}},
            {"transport", std::string(kText) + "transport_error=-32\n", kCaldaStatus, -32, {}},
            {"transport for all", std::string(kText) + "transport_error=-1\n", kCaldaAmbient, -1, {}},
    };
    for (const auto& item : kCases) {
        const auto reply = caldaReply(item.text, item.code);
        ASSERT_TRUE(reply.has_value()) << item.name;
        EXPECT_EQ(reply->transport, item.transport) << item.name;
        EXPECT_EQ(reply->words, item.words) << item.name;
    }
}

TEST(CaldaReplies, areMissingForWhatTheProfileDoesNotTell) {
    EXPECT_FALSE(caldaReply("", kCaldaStatus));
    EXPECT_FALSE(caldaReply("status=x\n", kCaldaStatus));
    EXPECT_FALSE(caldaReply("status=1\n", kCaldaAmbient));
    EXPECT_FALSE(caldaReply("status=1\n", kCaldaAllTemperatures));
    EXPECT_FALSE(caldaReply("status=1\n", 5));
}

}  // namespace
}  // namespace zstats::vdevice
