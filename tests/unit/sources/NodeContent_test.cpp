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

TEST_F(NodeContentTest, valueLinesNeedLevel2) {
    connect();
    service->set("k", "12\n");
    callback.getValueByHandleKey("k");
    EXPECT_THAT(takeLines(), IsEmpty());

    gLogLevel = 2;
    callback.getValueByHandleKey("k");
    EXPECT_THAT(takeLines(), ElementsAre("D PullAtomCallback getValueByHandleKey read nodeKey: k, "
                                         "value = 12"));
    service->set("k", "");
    callback.getValueByHandleKey("k");
    EXPECT_THAT(takeLines(), ElementsAre("D PullAtomCallback getValueByHandleKey read nodeKey: k, "
                                         "value = -1"));
    service.reset();
    takeLines();
    callback.getValueByHandleKey("k");
    EXPECT_THAT(takeLines(),
                ElementsAre("W get handlefactory aidl service failed",
                            "D PullAtomCallback getValueByHandleKey read nodeKey: k, value = -1"));
}

struct ContentCase {
    const char* name;
    bool present;
    const char* text;                // null: the service answers with an error
    std::vector<std::string> lines;  // at every level
    const char* debugLine;           // at level 2, last
};

class ContentTest : public NodeContentTest, public ::testing::WithParamInterface<ContentCase> {};

TEST_P(ContentTest, isEmptyUnlessThereIsText) {
    const ContentCase& row = GetParam();
    if (row.present) connect();
    if (row.present && row.text != nullptr) service->set("k", row.text);
    for (const int32_t level : {0, 1, 2}) {
        gLogLevel = level;
        EXPECT_EQ(callback.getContentByHandleKey("k"), row.text != nullptr ? row.text : "");
        auto expected = row.lines;
        if (level == 2) expected.emplace_back(row.debugLine);
        EXPECT_EQ(takeLines(), expected) << "level " << level;
    }
}

constexpr char kEmptyResult[] =
        "D PullAtomCallback getContentByHandleKey read nodeKey: k, result = ";

INSTANTIATE_TEST_SUITE_P(
        Rows, ContentTest,
        ::testing::Values(
                ContentCase{"absent",
                            false,
                            nullptr,
                            {"W get handlefactory aidl service failed",
                             "E PullAtomCallback getContentByHandleKey read nodeKey: k, Proxy Aidl "
                             "not exist."},
                            kEmptyResult},
                ContentCase{"failing",
                            true,
                            nullptr,
                            {"W handleFactory read failed.",
                             "E PullAtomCallback getContentByHandleKey read nodeKey: k, len=0"},
                            kEmptyResult},
                ContentCase{"empty",
                            true,
                            "",
                            {"E PullAtomCallback getContentByHandleKey read nodeKey: k, len=0"},
                            kEmptyResult},
                ContentCase{"text",
                            true,
                            "a b\n",
                            {},
                            "D PullAtomCallback getContentByHandleKey read nodeKey: k, "
                            "result = a b\n"}),
        [](const auto& info) { return info.param.name; });

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
