#include <gtest/gtest.h>

#include <vector>

#include "vdevice/lib/Frames.h"

namespace zstats::vdevice {
namespace {

std::vector<std::string> takeAll(FrameReader* reader) {
    std::vector<std::string> taken;
    while (const auto frame = reader->take()) {
        taken.push_back(static_cast<char>(frame->type) + std::to_string(frame->session) + " " +
                        frame->bytes);
    }
    return taken;
}

TEST(FramesTest, arriveHoweverTheyAreCut) {
    const std::string sent = encodeFrame(FrameType::kText, 0x1234, "ab") +
                             encodeFrame(FrameType::kInput, 0xffff, "") +
                             encodeFrame(FrameType::kTaken, 1, {"\0\x80", 2});
    EXPECT_EQ(sent.substr(0, 9), std::string("T\x34\x12\x02\0\0\0ab", 9));
    const std::vector<std::string> expected = {"T4660 ab", "I65535 ",
                                               "A1 " + std::string("\0\x80", 2)};
    for (size_t cut = 0; cut <= sent.size(); ++cut) {
        FrameReader reader;
        reader.append(sent.substr(0, cut));
        std::vector<std::string> taken = takeAll(&reader);
        reader.append(sent.substr(cut));
        for (std::string& frame : takeAll(&reader)) taken.push_back(std::move(frame));
        EXPECT_EQ(taken, expected) << cut;
    }
}

TEST(FramesTest, aLengthThatNoFrameHasEndsTheReading) {
    for (const size_t extra : {0, 1}) {
        FrameReader reader;
        reader.append(encodeFrame(FrameType::kText, 1, std::string(kMaxFrameBytes + extra, 'x')));
        reader.append(encodeFrame(FrameType::kBegin, 1, "s"));
        EXPECT_EQ(takeAll(&reader).size(), extra == 0 ? 2u : 0u);
        EXPECT_EQ(reader.isLost(), extra != 0);
    }
}

TEST(FramesTest, aNumberThatIsCutIsNone) {
    EXPECT_EQ(decodeNumber({"\x78\x56\x34\x92", 4}), 0x92345678u);
    EXPECT_EQ(decodeNumber({"\x78\x56\x34", 3}), 0u);
}

}  // namespace
}  // namespace zstats::vdevice
