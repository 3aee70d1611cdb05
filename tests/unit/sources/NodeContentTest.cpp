#include <optional>
#include <stdexcept>

#include "sources/HalHandleFactoryProxyAidl.h"
#include "sources/NodeContent.h"
#include "tests/support/FakeServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

using NodeContentTest = HandlerTest;

TEST_F(NodeContentTest, ReadsValuesAsAtoiDoesWhateverTheResultCode) {
    FakeHandleFactory service;
    const std::pair<const char*, int32_t> rows[] = {
            {"12\n", 12},     {"abc", 0}, {"  -7x", -7},
            {"\t+3 4", 3},    {"-1", -1}, {"007", 7},
            {"0x10", 0},      {"\n", 0},  {"2147483647", 2147483647},
            {"- 5", 0},       {"", -1},   {"-2147483648\n", INT32_MIN},
            {"4294967297", 1}};
    for (const auto& [text, value] : rows) {
        for (const int32_t code : {0, -1, 5}) {
            service.set("k", text, code);
            EXPECT_EQ(nodes::readNumber("k"), value) << '"' << text << '"';
            EXPECT_EQ(nodes::readText("k"), text);
        }
    }
}

TEST_F(NodeContentTest, ItsThreeReadersTellEachOutcome) {
    const struct {
        bool isPresent;
        std::optional<std::string> text;  // none: the service answers with an error
        Lines client;                     // the client's lines before those of each reader
        std::string failure;
    } rows[] = {{false, {}, {"W get handlefactory aidl service failed"}, "Proxy Aidl not exist."},
                {true, {}, {"W handleFactory read failed."}, "len=0"},
                {true, "", {}, "len=0"},
                {true, "12\n", {}, ""}};
    const std::string reader = " getContentByHandleKey read nodeKey: k, ";
    const std::string handler = " PullAtomCallback" + reader;
    for (const auto& row : rows) {
        std::optional<FakeHandleFactory> service;
        if (row.isPresent) service.emplace();
        if (row.text) service->set("k", *row.text, -1);
        const std::string text = row.text.value_or("");
        Lines ofHandlers = row.client;
        Lines ofReaders = row.client;
        Lines ofValues = row.client;
        if (!row.failure.empty()) ofHandlers.push_back("E" + handler + row.failure);
        ofHandlers.push_back("D2" + handler + "result = " + text);
        ofReaders.push_back(row.failure.empty() ? "D2" + reader + "result = " + text
                                                : "E" + reader + row.failure);
        ofValues.push_back("D2 PullAtomCallback getValueByHandleKey read nodeKey: k, value = " +
                           std::to_string(text.empty() ? -1 : 12));
        nodes::readNumber("connects");
        log.clear();
        expectLines(log, ofHandlers, [&] { EXPECT_EQ(nodes::readText("k"), text); });
        expectLines(log, ofValues, [] { nodes::readNumber("k"); });
        expectLines(log, ofReaders, [&] {
            std::string out = "before";
            getContentByHandleKey("k", out);
            EXPECT_EQ(out, text.empty() ? "before" : text);
        });
    }
}

TEST_F(NodeContentTest, ParsesKeyColonValueLines) {
    const std::pair<const char*, KeyValueMap> rows[] = {
            {"", {}},
            {"nocolon\n\n \t\n", {}},
            {"a: 1\nb :2\n  c:3\nnocolon\n", {{"a", "1"}, {"b", "2"}, {"  c", "3"}}},
            {"x: 1\nx: 2", {{"x", "2"}}},
            {"t=: 5:6", {{"t=", "5:6"}}},
            {"a \t\r: 1\r\nb\v:\t 2 \r\nc:\f3", {{"a", "1\r"}, {"b\v", "2 \r"}, {"c", "\f3"}}},
            {"b: \r1\na\r:2", {{"a", "2"}, {"b", "1"}}},
            {": 1", {{"", "1"}}},
            {" \t:2\n\n::3", {{"", ":3"}}},
            {"a:1\nlast: 9", {{"a", "1"}, {"last", "9"}}}};
    for (const auto& [content, map] : rows) {
        EXPECT_EQ(nodes::parseKeyValueFromContent(content), map) << '"' << content << '"';
    }
    for (const char* content : {"a:", "a: \t\r", "a:\nb: 1", "b: 1\na:  \n", ":"}) {
        EXPECT_THROW(nodes::parseKeyValueFromContent(content), std::out_of_range) << content;
    }
}

TEST_F(NodeContentTest, PicksNumbersByKey) {
    const KeyValueMap map = {
            {"a", "5:6"}, {"b", "-3\r"}, {"word", "x"}, {"", "007"}, {"large", "4294967297"}};
    const std::pair<const char*, int32_t> rows[] = {{"a", 5}, {"b", -3},    {"word", 0},
                                                    {"", 7},  {"large", 1}, {"A", -1}};
    const std::string prefix = " PullAtomCallback getValueByKey node Key: ";
    log.clear();
    for (const auto& [key, value] : rows) {
        const std::string line = map.count(key) == 0
                                         ? "E" + prefix + key + " not exist."
                                         : "D2" + prefix + key + ", value: " + map.at(key) + " ";
        expectLines(log, {line}, [&, key = key, value = value] {
            EXPECT_EQ(nodes::getValueByKey(map, key), value);
        });
    }
}

}  // namespace
}  // namespace zstats
