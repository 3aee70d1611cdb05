#include <gtest/gtest.h>

#include <limits>

#include "vdevice/lib/atoms/ShellStream.h"

namespace zstats::vdevice {
namespace {

/** The message of a frame, its length word checked. */
std::string messageOf(const std::string& frame) {
    ShellFrameCutter cutter;
    cutter.append(frame.data(), frame.size());
    const auto message = cutter.next();
    EXPECT_TRUE(message.has_value());
    EXPECT_EQ(message.value_or("").size() + 8, frame.size());
    return message.value_or("");
}

TEST(ShellStreamTest, writesTheFrameToTheByte) {
    const std::string frame = shellFrame({{150006, 5, 1000, {int32_t{-1}}}}, true);
    const unsigned char kBytes[] = {0x15, 0,    0,    0,    0,    0,    0,    0,  // length 21
                                    0x0a, 0x0f,                                   // atom
                                    0xb2, 0x9f, 0x49, 0x0b,  // 150006, 11 bytes
                                    0x08, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
                                    0xff, 0xff, 0x01, 0x10, 0x05,  // time stamp
                                    0x18, 0xe8, 0x07};             // uid
    EXPECT_EQ(frame.substr(8), std::string(std::begin(kBytes) + 8, std::end(kBytes)));
    EXPECT_EQ(static_cast<unsigned char>(frame[0]), frame.size() - 8);
    EXPECT_EQ(frame.substr(1, 7), std::string(7, '\0'));
    EXPECT_EQ(shellFrame({}, false), std::string(8, '\0'));
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
    const std::vector<AtomValue> unknown = {int64_t{9}, 0.5f, std::string("t")};
    // The last atom has one field more than the catalogue says, whose type is a guess.
    const std::vector<StreamedAtom> sent = {{150020, 11, 0, fields},
                                            {150112, 12, 0, {1.25f}},
                                            {10001, 13, 0, unknown},
                                            {150006, 14, 0, {1, 2}}};
    const auto received = parseShellData(messageOf(shellFrame(sent, false)));
    ASSERT_TRUE(received && received->size() == sent.size());
    EXPECT_EQ(received->at(0).uid, -1);
    for (size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(received->at(i).id, sent[i].id);
        EXPECT_EQ(received->at(i).timestampNs, sent[i].timestampNs);
        if (i < 3) {
            EXPECT_EQ(received->at(i).fields, sent[i].fields);
        }
    }
    EXPECT_EQ(received->at(3).fields, (std::vector<AtomValue>{1, int64_t{2}}));
}

TEST(ShellStreamTest, refusesWhatIsNoMessage) {
    for (const std::string bytes :
         {"\x0a\x05", "\x0a", "\xff\xff\xff", "\x0a\x04\xb2\x9f\x49\x7f"}) {
        EXPECT_FALSE(parseShellData(bytes).has_value());
    }
    const auto empty = parseShellData("");
    ASSERT_TRUE(empty.has_value());
    EXPECT_TRUE(empty->empty());
}

TEST(ShellFrameCutterTest, cutsHoweverTheBytesArrive) {
    const std::string stream = shellFrame({{150006, 1, 0, {5}}}, false) + shellFrame({}, false) +
                               shellFrame({{150006, 2, 0, {6}}}, false);
    for (size_t step : {size_t{1}, size_t{3}, size_t{9}, stream.size()}) {
        ShellFrameCutter cutter;
        std::vector<size_t> sizes;
        for (size_t at = 0; at < stream.size(); at += step) {
            cutter.append(stream.data() + at, std::min(step, stream.size() - at));
            while (const auto message = cutter.next()) sizes.push_back(message->size());
        }
        const size_t size = (stream.size() - 24) / 2;
        EXPECT_EQ(sizes, (std::vector<size_t>{size, 0, size})) << step;
        EXPECT_FALSE(cutter.broken());
    }
}

TEST(ShellFrameCutterTest, stopsAtALengthThatCannotBe) {
    ShellFrameCutter cutter;
    cutter.append("\0\0\0\0\1\0\0\0abcdefgh", 16);
    EXPECT_FALSE(cutter.next().has_value());
    EXPECT_TRUE(cutter.broken());
    cutter.append("\0\0\0\0\0\0\0\0", 8);
    EXPECT_FALSE(cutter.next().has_value());
}

}  // namespace
}  // namespace zstats::vdevice
