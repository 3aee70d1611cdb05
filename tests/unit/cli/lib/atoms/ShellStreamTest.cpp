#include <gtest/gtest.h>

#include "cli/lib/atoms/ShellStream.h"

namespace zstats::cli {
namespace {

using namespace std::string_literals;

TEST(ShellStreamTest, writesTheFrameToTheByte) {
    // The length, 22; an atom: 150006, of 11 bytes; its time stamp; its uid.
    const std::string expected =
            "\x16\0\0\0\0\0\0\0"
            "\x0a\x0f\xb2\x9f\x49\x0b\x08\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01"
            "\x10\x05"
            "\x18\xe8\x07"s;
    EXPECT_EQ(shellFrame({{150006, 5, 1000, {int32_t{-1}}}}, true), expected);
    EXPECT_EQ(shellFrame({}, false), std::string(8, '\0'));
}

TEST(ShellStreamTest, writesEachTimeStampBehindItsAtom) {
    const StreamedAtom one = {150006, 5, 1000, {7}};
    const StreamedAtom two = {150020, 6, 0, {std::string("wlan")}};
    for (const bool withUids : {false, true}) {
        EXPECT_EQ(shellFrame({one, two}, withUids).substr(8),
                  shellFrame({one}, withUids).substr(8) + shellFrame({two}, withUids).substr(8));
    }
}

TEST(ShellStreamTest, bringsEveryTypeBack) {
    // The catalogue has a bool sixth and eighth, and an int32 ninth.
    std::vector<AtomValue> fields(13, int64_t{0});
    fields[0] = std::string("wlan");
    fields[1] = int64_t{1} << 40;
    fields[5] = true;
    fields[7] = false;
    fields[8] = int32_t{-1};
    fields[12] = std::numeric_limits<int64_t>::min();
    const std::vector<StreamedAtom> sent = {{150020, 11, -1, fields},
                                            {150112, 12, -1, {1.25f}},
                                            // Types of unknown fields are guessed.
                                            {10001, 13, -1, {int64_t{9}, 0.5f, std::string("t")}},
                                            {150006, 14, -1, {1, int64_t{2}}}};
    const auto received = parseShellData(shellFrame(sent, false).substr(8)).value_or(sent);
    ASSERT_EQ(received.size(), sent.size());
    for (size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(received[i].id, sent[i].id);
        EXPECT_EQ(received[i].timestampNs, sent[i].timestampNs);
        EXPECT_EQ(received[i].uid, sent[i].uid);
        EXPECT_EQ(received[i].fields, sent[i].fields);
    }
}

TEST(ShellStreamTest, refusesWhatIsNoMessage) {
    for (const std::string bytes :
         {"\x0a\x05", "\x0a", "\xff\xff\xff", "\x0a\x04\xb2\x9f\x49\x7f"}) {
        EXPECT_FALSE(parseShellData(bytes).has_value());
    }
}

TEST(ShellStreamTest, isCutHoweverTheBytesArrive) {
    const std::string message = shellFrame({{150006, 1, 0, {5}}}, false);
    const std::string stream = message + shellFrame({}, false) + message;
    for (size_t step : {size_t{1}, size_t{3}, size_t{9}, stream.size()}) {
        ShellFrameCutter cutter;
        std::vector<std::string> messages;
        for (size_t at = 0; at < stream.size(); at += step) {
            cutter.append(stream.data() + at, std::min(step, stream.size() - at));
            while (const auto next = cutter.next()) messages.push_back(*next);
        }
        EXPECT_EQ(messages, (std::vector<std::string>{message.substr(8), "", message.substr(8)}));
        EXPECT_FALSE(cutter.broken());
        // An impossible length ends the stream.
        cutter.append("\0\0\0\0\1\0\0\0abcdefgh", 16);
        EXPECT_FALSE(cutter.next().has_value());
        EXPECT_TRUE(cutter.broken());
    }
}

}  // namespace
}  // namespace zstats::cli
