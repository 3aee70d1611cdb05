#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

#include "daemon/base/Numbers.h"

namespace zstats {
namespace {

void expectAsInC(const std::string& text) {
    EXPECT_EQ(leadingInt64(text), strtoll(text.c_str(), nullptr, 10)) << '"' << text << '"';
    EXPECT_EQ(leadingInt64(text), atoll(text.c_str())) << '"' << text << '"';
    EXPECT_EQ(leadingInt32(text), atoi(text.c_str())) << '"' << text << '"';
}

TEST(NumbersTest, readsWhatTheCFunctionsRead) {
    for (const char* lead : {"", " ", "\t\n\v\f\r ", "x", "\x1f", "\x0e", "\x85"}) {
        for (const char* sign : {"", "+", "-", "+-", "-+", "++", "--", "+ ", "- "}) {
            for (const char* digits :
                 {"", "0", "007", "12\n", "12 34", "0x10", "1e3", "1.5", "2147483647", "2147483648",
                  "4294967297", "9223372036854775807", "9223372036854775808",
                  "18446744073709551617", "99999999999999999999999x"}) {
                expectAsInC(std::string(lead) + sign + digits);
            }
        }
    }
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        for (size_t length = random() % 24; text.size() < length;)
            text += " \t-+0189x"[random() % 9];
        expectAsInC(text);
    }
}

TEST(NumbersTest, aNulEndsTheNumberAsItEndsAText) {
    using namespace std::string_literals;
    for (const std::string& text : {"12\0003"s, "\00012"s, " \00012"s, "-\00012"s})
        expectAsInC(text);
}

}  // namespace
}  // namespace zstats
