#include <gtest/gtest.h>

#include <limits>

#include "cli/lib/atoms/AtomJson.h"

namespace zstats::cli {
namespace {

TEST(AtomJsonTest, writesValuesThatReadBackEqual) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const struct {
        AtomValue value;
        const char* text;
        const char* type;
    } kCases[] = {{0.1f, "0.1", "float"},
                  {-0.0f, "-0", "float"},
                  {16777216.0f, "16777216", "float"},
                  {1e20f, "1e+20", "float"},
                  {std::numeric_limits<float>::max(), "3.4028235e+38", "float"},
                  {kInfinity, "null", "float"},
                  {std::numeric_limits<float>::quiet_NaN(), "null", "float"},
                  {false, "false", "bool"},
                  {-1, "-1", "int32"},
                  {std::numeric_limits<int64_t>::min(), "-9223372036854775808", "int64"},
                  {std::string("a\"b"), R"("a\"b")", "string"}};
    for (const auto& [value, text, type] : kCases) {
        // Fields that the catalogue lacks are named by their position.
        EXPECT_EQ(jsonEvent(7, {true, value}),
                  std::string(R"({"atom":7,"name":"unknown","fields":[true,)") + text +
                          R"(],"names":["field_1","field_2"],"types":["bool",")" + type + "\"]}");
    }
}

TEST(AtomJsonTest, keepsEveryStringValid) {
    const struct {
        std::string text;
        const char* quoted;
    } kCases[] = {
            {"", "\"\""},
            {"back\\slash", "\"back\\\\slash\""},
            {"line\nreturn\rtab\t", "\"line\\nreturn\\rtab\\t\""},
            {std::string("nul\0", 4), "\"nul\\u0000\""},
            {"\x1f\x7f", "\"\\u001f\x7f\""},
            {"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80", "\"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\""},
            {"cut \xe2\x82", "\"cut \\ufffd\\ufffd\""},
            {"overlong \xc0\xaf", "\"overlong \\ufffd\\ufffd\""},
            {"surrogate \xed\xa0\x80", "\"surrogate \\ufffd\\ufffd\\ufffd\""},
            {"beyond \xf4\x90\x80\x80", "\"beyond \\ufffd\\ufffd\\ufffd\\ufffd\""},
            {"alone \x80z", "\"alone \\ufffdz\""},
    };
    for (const auto& item : kCases) EXPECT_EQ(jsonString(item.text), item.quoted);
}

}  // namespace
}  // namespace zstats::cli
