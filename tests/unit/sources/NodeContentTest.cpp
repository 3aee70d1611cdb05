#include <optional>
#include <stdexcept>

#include "tests/support/FakeVendorServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

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

TEST_F(NodeContentTest, ReadsValuesAsAtoiDoesWhateverTheResultCode) {
    connect();
    const std::pair<const char*, int32_t> rows[] = {
            {"12\n", 12},
            {"abc", 0},
            {"  -7x", -7},
            {"\t+3 4", 3},
            {"-1", -1},
            {"007", 7},
            {"0x10", 0},
            {"2147483647", 2147483647},
            {"-2147483648\n", INT32_MIN},
            {"4294967297", 1},
            {"", -1},
            {"\n", 0},
            {"- 5", 0},
    };
    for (const auto& [text, value] : rows) {
        for (const int32_t code : {0, -1, 5}) {
            service->set("k", text, code);
            EXPECT_EQ(callback.getValueByHandleKey("k"), value) << '"' << text << '"';
            EXPECT_EQ(callback.getContentByHandleKey("k"), text);
        }
    }
}

TEST_F(NodeContentTest, LogsEachOutcome) {
    const std::string prefix = "PullAtomCallback getContentByHandleKey read nodeKey: k, ";
    const struct {
        bool present;
        const char* text;  // null: the service answers with an error
        Lines lines;       // of the service's client
        Lines failure;
        int32_t value;
    } rows[] = {{false,
                 nullptr,
                 {"W get handlefactory aidl service failed"},
                 {"E " + prefix + "Proxy Aidl not exist."},
                 -1},
                {true, nullptr, {"W handleFactory read failed."}, {"E " + prefix + "len=0"}, -1},
                {true, "", {}, {"E " + prefix + "len=0"}, -1},
                {true, "12\n", {}, {}, 12}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.failure));
        service.reset();
        if (row.present) connect();
        const std::string text = row.text != nullptr ? row.text : "";
        if (row.text != nullptr) service->set("k", text);
        log.clear();
        Lines lines = row.lines;
        lines.push_back("D2 PullAtomCallback getValueByHandleKey read nodeKey: k, value = " +
                        std::to_string(row.value));
        expectLines(log, lines, [&] { EXPECT_EQ(callback.getValueByHandleKey("k"), row.value); });
        lines = row.lines;
        lines.insert(lines.end(), row.failure.begin(), row.failure.end());
        lines.push_back("D2 " + prefix + "result = " + text);
        expectLines(log, lines, [&] { EXPECT_EQ(callback.getContentByHandleKey("k"), text); });
    }
}

TEST_F(NodeContentTest, ParsesKeyColonValueLines) {
    const std::pair<const char*, KeyValueMap> rows[] = {
            {"", {}},
            {"nocolon\n\n \t\n", {}},
            {"a: 1\nb :2\n  c:3\nnocolon\n", {{"a", "1"}, {"b", "2"}, {"  c", "3"}}},
            {"x: 1\nx: 2", {{"x", "2"}}},
            {"t: 5:6", {{"t", "5:6"}}},
            {"a \t\r: 1\r\nb:\t 2 \r\n", {{"a", "1\r"}, {"b", "2 \r"}}},
            {"b: \r1\na\r:2", {{"a", "2"}, {"b", "1"}}},
            {": 1", {{"", "1"}}},
            {" \t:2\n\n::3", {{"", ":3"}}},
            {"a:1\nlast: 9", {{"a", "1"}, {"last", "9"}}},
    };
    for (const auto& [content, map] : rows) {
        EXPECT_EQ(callback.parseKeyValueFromContent(content), map) << '"' << content << '"';
    }
    for (const char* content : {"a:", "a: \t\r", "a:\nb: 1", "b: 1\na:  \n", ":"}) {
        EXPECT_THROW(callback.parseKeyValueFromContent(content), std::out_of_range)
                << '"' << content << '"';
    }
}

TEST_F(NodeContentTest, PicksNumbersByKey) {
    KeyValueMap map{
            {"a", "5:6"}, {"b", "-3\r"}, {"word", "x"}, {"", "007"}, {"large", "4294967297"}};
    const auto before = map;
    const std::pair<const char*, int32_t> rows[] = {{"a", 5}, {"b", -3},    {"word", 0},
                                                    {"", 7},  {"large", 1}, {"A", -1}};
    const std::string prefix = " PullAtomCallback getValueByKey node Key: ";
    for (const auto& [key, value] : rows) {
        const std::string line = map.count(key) == 0
                                         ? "E" + prefix + key + " not exist."
                                         : "D2" + prefix + key + ", value: " + map.at(key) + " ";
        expectLines(log, {line}, [&, key = key, value = value] {
            EXPECT_EQ(callback.getValueByKey(map, key), value);
        });
    }
    EXPECT_EQ(map, before);
}

}  // namespace
}  // namespace zstats
