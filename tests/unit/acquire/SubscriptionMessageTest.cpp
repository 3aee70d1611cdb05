#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <numeric>
#include <string>
#include <vector>

#include "acquire/PushedAtomSubscription.h"

namespace zstats {
namespace {

struct ClassRow {
    int32_t id;
    AtomSource source;
};

class AtomClassTest : public testing::TestWithParam<ClassRow> {};

TEST_P(AtomClassTest, DecidesByRange) {
    EXPECT_EQ(classifyAtomId(GetParam().id), GetParam().source) << GetParam().id;
}

constexpr AtomSource kNone = AtomSource::kNone;
constexpr AtomSource kPushed = AtomSource::kPushed;
constexpr AtomSource kPulled = AtomSource::kPulled;
INSTANTIATE_TEST_SUITE_P(Borders, AtomClassTest,
                         testing::Values(ClassRow{INT32_MIN, kNone}, ClassRow{-1, kNone},
                                         ClassRow{0, kNone}, ClassRow{2, kNone},
                                         ClassRow{3, kPushed}, ClassRow{749, kPushed},
                                         ClassRow{750, kNone}, ClassRow{9999, kNone},
                                         ClassRow{10000, kPulled}, ClassRow{10499, kPulled},
                                         ClassRow{10500, kNone}, ClassRow{99999, kNone},
                                         ClassRow{100000, kPushed}, ClassRow{149999, kPushed},
                                         ClassRow{150000, kPulled}, ClassRow{199999, kPulled},
                                         ClassRow{200000, kPulled}, ClassRow{INT32_MAX, kPulled}));

/** Reads protobuf's wire format into a text like "1{1=10} 2{1{1=5} 2=1000 3="x"}". */
class WireReader {
  public:
    explicit WireReader(std::string_view bytes) : mBytes(bytes) {}

    /** `messages`: for each depth, the numbers of the fields that hold messages. */
    std::string read(const std::vector<std::vector<uint64_t>>& messages, size_t depth = 0) {
        std::string text;
        while (!mBytes.empty()) {
            const uint64_t key = varint();
            const uint64_t field = key >> 3;
            text += (text.empty() ? "" : " ") + std::to_string(field);
            if ((key & 7) == 0) {
                text += "=" + std::to_string(varint());
            } else if ((key & 7) == 2) {
                const std::string_view value = take(varint());
                text += isMessage(messages, depth, field)
                                ? "{" + WireReader(value).read(messages, depth + 1) + "}"
                                : "=\"" + std::string(value) + "\"";
            } else {
                return text + "!";
            }
        }
        return text;
    }

  private:
    static bool isMessage(const std::vector<std::vector<uint64_t>>& messages, size_t depth,
                          uint64_t field) {
        if (depth >= messages.size()) return false;
        for (uint64_t candidate : messages[depth]) {
            if (candidate == field) return true;
        }
        return false;
    }

    uint64_t varint() {
        uint64_t value = 0;
        for (int shift = 0; !mBytes.empty(); shift += 7) {
            const auto byte = static_cast<uint8_t>(take(1)[0]);
            value |= uint64_t{byte & 0x7FU} << shift;
            if (byte < 0x80) break;
        }
        return value;
    }

    std::string_view take(size_t count) {
        const std::string_view taken = mBytes.substr(0, count);
        mBytes.remove_prefix(taken.size());
        return taken;
    }

    std::string_view mBytes;
};

std::string decode(const std::string& message) {
    return WireReader(message).read({{1, 2}, {1}});
}

std::string pulledText(const std::string& id) {
    return "2{1{1=" + id + R"(} 2=1000 3="AID_ROOT" 3="AID_SYSTEM" 3="AID_STATSD"})";
}

TEST(SubscriptionMessage, HoldsTheIdsOfEachKindInTheirOrder) {
    struct {
        std::vector<int32_t> ids;
        std::string text;
    } const rows[] = {
            {{}, ""},
            {{2, 750, -5, 20000}, ""},
            {{10, 100500, 10050, 150010, 20000, 2},
             "1{1=10} 1{1=100500} " + pulledText("10050") + " " + pulledText("150010")},
            {{150030, 100207, 150005},
             "1{1=100207} " + pulledText("150030") + " " + pulledText("150005")},
            {{700, 3, 700}, "1{1=700} 1{1=3} 1{1=700}"},
            {{INT32_MAX, INT32_MAX}, pulledText("2147483647") + " " + pulledText("2147483647")},
    };
    for (const auto& row : rows) EXPECT_EQ(decode(serializeSubscription(row.ids)), row.text);
}

TEST(SubscriptionMessage, HasTheBytesThatStatsdExpects) {
    const std::string message = serializeSubscription({10, 150010});
    EXPECT_EQ(message, std::string("\x0a\x02\x08\x0a\x12\x2b\x0a\x04\x08\xfa\x93\x09\x10\xe8\x07"
                                   "\x1a\x08"
                                   "AID_ROOT\x1a\x0a"
                                   "AID_SYSTEM\x1a\x0a"
                                   "AID_STATSD"));
    EXPECT_EQ(message.size(), 49U);
}

TEST(SubscriptionFrame, CarriesTheLengthLeastSignificantByteFirst) {
    struct {
        size_t length;
        std::string prefix;
    } const rows[] = {
            {0, std::string(8, '\0')},
            {49, "\x31" + std::string(7, '\0')},
            {0xFF, "\xff" + std::string(7, '\0')},
            {0x100, std::string("\0\x01", 2) + std::string(6, '\0')},
            {0x012345, "\x45\x23\x01" + std::string(5, '\0')},
    };
    for (const auto& row : rows) {
        const std::string message(row.length, 'm');
        EXPECT_EQ(frameMessage(message), row.prefix + message) << row.length;
    }
}

/** How much of a frame one write brings into a fresh pipe that nobody reads. */
ssize_t accepted(const std::string& frame) {
    int ends[2];
    if (pipe2(ends, O_NONBLOCK) != 0) return -1;
    const ssize_t written = write(ends[1], frame.data(), frame.size());
    close(ends[0]);
    close(ends[1]);
    return written;
}

TEST(SubscriptionFrame, FitsIntoAPipeUpToTheStatedNumberOfPulledIds) {
    constexpr size_t kLargestList = 1456;
    std::vector<int32_t> ids(kLargestList);
    std::iota(ids.begin(), ids.end(), 150000);
    const std::string largest = frameMessage(serializeSubscription(ids));
    EXPECT_EQ(largest.size(), 8 + 45 * kLargestList);
    EXPECT_EQ(accepted(largest), static_cast<ssize_t>(largest.size()));

    ids.push_back(150000);
    const std::string tooLarge = frameMessage(serializeSubscription(ids));
    EXPECT_GT(accepted(tooLarge), 0);
    EXPECT_LT(accepted(tooLarge), static_cast<ssize_t>(tooLarge.size()));
}

}  // namespace
}  // namespace zstats
