#include <gtest/gtest.h>

#include "vdevice/lib/sources/CaldaReplies.h"

namespace zstats::vdevice {
namespace {

using Words = std::vector<int32_t>;

TEST(CaldaRepliesTest, followTheProfile) {
    const std::string text = "status=3\nambient=-7\nvector=4 4 41000 38000 -37500 36900\n";
    const struct {
        std::string text;
        uint32_t code;
        int32_t transport;
        Words words;
    } kCases[] = {
            {text, kCaldaStatus, 0, {0, 3}},
            {text, kCaldaAmbient, 0, {-7}},
            {text, kCaldaAllTemperatures, 0, {4, 4, 41000, 38000, -37500, 36900}},
            {"vector=\n", kCaldaAllTemperatures, 0, {}},
            {text + "exception=-5\n", kCaldaStatus, 0, {-5}},
            {text + "exception=-5\n", kCaldaAmbient, 0, {-7}},
            {text + "exception=0\n", kCaldaStatus, 0, {0, 3}},
            {text + "transport_error=-32\n", kCaldaStatus, -32, {}},
            {text + "transport_error=-1\n", kCaldaAmbient, -1, {}},
    };
    for (const auto& item : kCases) {
        const auto reply = caldaReply(item.text, item.code);
        ASSERT_TRUE(reply.has_value()) << item.text << item.code;
        EXPECT_EQ(reply->transport, item.transport) << item.text << item.code;
        EXPECT_EQ(reply->words, item.words) << item.text << item.code;
    }
    for (uint32_t code : {4, 5, 21, 25}) EXPECT_FALSE(caldaReply("status=x\n", code)) << code;
}

}  // namespace
}  // namespace zstats::vdevice
