#include <optional>
#include <stdexcept>

#include "tests/support/FakeVendorServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NodeContentTest : public HandlerTest {
  protected:
    /** Publishes the service and connects, so that no line of the connection follows. */
    void connect() {
        service.emplace();
        callback.getValueByHandleKey("connect");
        takeLines();
    }

    std::optional<FakeHandleFactory> service;
};

TEST_F(NodeContentTest, readsValuesAsAtoiDoes) {
    connect();
    const std::pair<const char*, int32_t> rows[] = {
            {"12\n", 12},
            {"abc", 0},
            {"  -7x", -7},
            {"\t+3 4", 3},
            {"-1", -1},
            {"0x10", 0},
            {"2147483647", 2147483647},
            {"-2147483648\n", INT32_MIN},
            {"", -1},
            {"\n", 0},
            {"- 5", 0},
    };
    for (const auto& [text, value] : rows) {
        service->set("k", text);
        EXPECT_EQ(callback.getValueByHandleKey("k"), value) << '"' << text << '"';
    }
    service->fail("k");
    EXPECT_EQ(callback.getValueByHandleKey("k"), -1);
    service.reset();
    EXPECT_EQ(callback.getValueByHandleKey("k"), -1);
}

TEST_F(NodeContentTest, whatIsLoggedForEachOutcome) {
    const std::string prefix = "PullAtomCallback getContentByHandleKey read nodeKey: k, ";
    constexpr char kAbsent[] = "W get handlefactory aidl service failed";
    constexpr char kFailed[] = "W handleFactory read failed.";
    const struct {
        bool present;
        const char* text;                // null: the service answers with an error
        std::vector<std::string> lines;  // at every level, the last one for contents alone
        const char* value;
    } cases[] = {
            {false, nullptr, {kAbsent, "E " + prefix + "Proxy Aidl not exist."}, "-1"},
            {true, nullptr, {kFailed, "E " + prefix + "len=0"}, "-1"},
            {true, "", {"E " + prefix + "len=0"}, "-1"},
            {true, "12\n", {}, "12"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.lines));
        service.reset();
        if (c.present) connect();
        const std::string text = c.text != nullptr ? c.text : "";
        if (c.text != nullptr) service->set("k", text);
        takeLines();
        for (const int32_t level : {0, 1, 2}) {
            gLogLevel = level;
            EXPECT_EQ(callback.getContentByHandleKey("k"), text);
            auto lines = c.lines;
            if (level == 2) lines.push_back("D " + prefix + "result = " + text);
            EXPECT_EQ(takeLines(), lines) << level;

            EXPECT_EQ(callback.getValueByHandleKey("k"), atoi(c.value));
            lines = c.lines;
            if (!lines.empty()) lines.pop_back();
            if (level == 2) {
                lines.push_back("D PullAtomCallback getValueByHandleKey read nodeKey: k, value = " +
                                std::string(c.value));
            }
            EXPECT_EQ(takeLines(), lines) << level;
        }
    }
}

TEST_F(NodeContentTest, parsesKeyColonValueLines) {
    const std::pair<const char*, KeyValueMap> rows[] = {
            {"", {}},
            {"nocolon\n\n \t\n", {}},
            {"a: 1\nb :2\n  c:3\nnocolon\n", {{"a", "1"}, {"b", "2"}, {"  c", "3"}}},
            {"x: 1\nx: 2", {{"x", "2"}}},
            {"t: 5:6", {{"t", "5:6"}}},
            {"a \t\r: 1\r\nb:\t 2 \r\n", {{"a", "1\r"}, {"b", "2 \r"}}},
            {": 1", {{"", "1"}}},
            {" \t:2\n\n::3", {{"", ":3"}}},
            {"a:1\nlast: 9", {{"a", "1"}, {"last", "9"}}},
    };
    for (const auto& [content, map] : rows) {
        EXPECT_EQ(callback.parseKeyValueFromContent(content), map) << '"' << content << '"';
    }
}

TEST_F(NodeContentTest, refusesAColonWithoutAValue) {
    for (const char* content : {"a:", "a: \t\r", "a:\nb: 1", "b: 1\na:  \n", ":"}) {
        EXPECT_THROW(callback.parseKeyValueFromContent(content), std::out_of_range)
                << '"' << content << '"';
    }
}

TEST_F(NodeContentTest, picksNumbersByKey) {
    KeyValueMap map{{"a", "5:6"}, {"b", "-3\r"}, {"word", "x"}, {"", "7"}};
    EXPECT_EQ(callback.getValueByKey(map, "a"), 5);
    EXPECT_EQ(callback.getValueByKey(map, "b"), -3);
    EXPECT_EQ(callback.getValueByKey(map, "word"), 0);
    EXPECT_EQ(callback.getValueByKey(map, ""), 7);
    EXPECT_THAT(takeLines(), IsEmpty());

    gLogLevel = 2;
    EXPECT_EQ(callback.getValueByKey(map, "a"), 5);
    EXPECT_THAT(takeLines(),
                ElementsAre("D PullAtomCallback getValueByKey node Key: a, value: 5:6 "));
    gLogLevel = 0;
    EXPECT_EQ(callback.getValueByKey(map, "A"), -1);
    EXPECT_THAT(takeLines(),
                ElementsAre("E PullAtomCallback getValueByKey node Key: A not exist."));
    EXPECT_EQ(map.size(), 4u);
}

}  // namespace
}  // namespace zstats
