#include <android-base/file.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "acquire/PushedAtomSubscription.h"

namespace zstats {
namespace {

TEST(AtomClass, IsDecidedByRange) {
    constexpr AtomSource kNone = AtomSource::kNone;
    constexpr AtomSource kPushed = AtomSource::kPushed;
    constexpr AtomSource kPulled = AtomSource::kPulled;
    struct {
        int32_t id;
        AtomSource source;
    } const rows[] = {{INT32_MIN, kNone}, {-1, kNone},         {0, kNone},        {2, kNone},
                      {3, kPushed},       {749, kPushed},      {750, kNone},      {9999, kNone},
                      {10000, kPulled},   {10499, kPulled},    {10500, kNone},    {99999, kNone},
                      {100000, kPushed},  {149999, kPushed},   {150000, kPulled}, {199999, kPulled},
                      {200000, kPulled},  {INT32_MAX, kPulled}};
    for (const auto& row : rows) EXPECT_EQ(classifyAtomId(row.id), row.source) << row.id;
}

/** The message as protobuf's own compiler reads it, words one blank apart. */
std::string decode(const std::string& message) {
    const TemporaryFile file;
    EXPECT_TRUE(android::base::WriteStringToFd(message, file.fd));
    FILE* const output = popen(("protoc --decode_raw <" + std::string(file.path)).c_str(), "r");
    std::string text;
    char word[32];
    while (fscanf(output, "%31s", word) == 1) text += (text.empty() ? "" : " ") + std::string(word);
    EXPECT_EQ(pclose(output), 0);
    return text;
}

std::string pushed(const std::string& id) {
    return "1 { 1: " + id + " } ";
}

std::string pulled(const std::string& id) {
    return "2 { 1 { 1: " + id + R"( } 2: 1000 3: "AID_ROOT" 3: "AID_SYSTEM" 3: "AID_STATSD" } )";
}

TEST(SubscriptionMessage, HoldsTheIdsOfEachKindInTheirOrder) {
    struct {
        std::vector<int32_t> ids;
        std::string text;
    } const rows[] = {
            {{}, ""},
            {{2, 750, -5, 20000}, ""},
            {{10, 100500, 10050, 150010, 20000, 2},
             pushed("10") + pushed("100500") + pulled("10050") + pulled("150010")},
            {{150030, 100207, 150005}, pushed("100207") + pulled("150030") + pulled("150005")},
            {{700, 3, 700}, pushed("700") + pushed("3") + pushed("700")},
            {{INT32_MAX, INT32_MAX}, pulled("2147483647") + pulled("2147483647")},
    };
    for (const auto& row : rows) {
        const std::string decoded = decode(serializeSubscription(row.ids));
        EXPECT_EQ(decoded + (decoded.empty() ? "" : " "), row.text);
    }
}

TEST(SubscriptionFrame, CarriesTheLengthLeastSignificantByteFirst) {
    struct {
        size_t length;
        std::string prefix;
    } const rows[] = {
            {0, std::string(8, '\0')},
            {0xFF, "\xff" + std::string(7, '\0')},
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
