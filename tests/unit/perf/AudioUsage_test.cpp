#include <cmath>
#include <limits>

#include "atoms/AudioUsageAtoms.h"
#include "tests/support/SubstituteProfile.h"
#include "tests/unit/perf/PerfKit.h"

namespace zstats {
namespace {

constexpr int32_t kAudioTag = 150112;
constexpr int32_t kUahTag = 150136;

using AudioTest = PerfTest;

TEST_F(AudioTest, theReplyIsReadAsANumber) {
    FakeAudio audio;
    const std::pair<const char*, float> cases[] = {
            {"1.25", 1.25f}, {"", 0.0f}, {"none", 0.0f}, {" -3.5 W", -3.5f}, {"1e999", HUGE_VALF}};
    EXPECT_THAT(pull(kAudioTag), ElementsAre(Fields{0.0f}));  // no text at all
    for (const auto& [text, value] : cases) {
        audio.set(text);
        EXPECT_THAT(pull(kAudioTag), ElementsAre(Fields{value})) << value;
    }
    EXPECT_EQ(audio.request(), std::string("PAPowerMonitorResult\0\0\0\0", 24));
    EXPECT_EQ(audio.remote().calls(FakeAudio::kMonitor), 6);
}

TEST_F(AudioTest, aServiceThatRefusesIsReported) {
    FakeAudio audio;
    const std::pair<android::status_t, std::string> cases[] = {
            {android::PERMISSION_DENIED, "Operation not permitted"},
            {android::UNKNOWN_ERROR, strerror(std::numeric_limits<int>::min())},
            {android::DEAD_OBJECT, "Broken pipe"},  // last: a proxy that saw it stays dead
    };
    for (const auto& [status, text] : cases) {
        audio.remote().failCalls(status);
        EXPECT_THAT(pull(kAudioTag), IsEmpty());
        EXPECT_EQ(errors("Error invoking remote service: " + text + "\n"), 1u);
    }
}

TEST_F(AudioTest, theServiceIsLookedUpAtEachPull) {
    EXPECT_THAT(pull(kAudioTag), IsEmpty());
    {
        FakeAudio audio;
        EXPECT_THAT(pull(kAudioTag), ElementsAre(Fields{0.0f}));
    }
    EXPECT_THAT(pull(kAudioTag), IsEmpty());
    inprocess::hideServiceManager(true);
    EXPECT_THAT(pull(kAudioTag), IsEmpty());
    EXPECT_EQ(errors("Cannot connect to service: audio"), 3u);
}

using UahTest = PerfTest;

std::vector<Event> uahEvents(const std::vector<UahRecord>& records) {
    AStatsEventList list;
    appendUahEvents(records, kUahTag, &list);
    return eventsOf(list);
}

TEST_F(UahTest, seventeenFieldsInTheirTypes) {
    const std::string none;
    const int64_t zero = 0;
    const std::pair<const char*, Fields> cases[] = {
            {"app,1,2,launch,3,4,5,6,7,8,9,10,11,12,tail,13,14",
             {std::string("app"), 1, 2, std::string("launch"), 3, int64_t{4}, int64_t{5}, int64_t{6},
              int64_t{7}, 8, 9, int64_t{10}, 11, int64_t{12}, std::string("tail"), int64_t{13}, 14}},
            {",x,-2,,0x3,5000000000,,,,,,,,,,1,2,",
             {none, 0, -2, none, 0, int64_t{5'000'000'000}, zero, zero, zero, 0, 0, zero, 0, zero,
              none, int64_t{1}, 2}},
            {"a,,,,,,,,,,,,,,,,7",
             {std::string("a"), 0, 0, none, 0, zero, zero, zero, zero, 0, 0, zero, 0, zero, none,
              zero, 7}}};
    std::vector<UahRecord> records;
    for (const auto& c : cases) records.push_back({1, c.first});
    const auto events = uahEvents(records);
    ASSERT_EQ(events.size(), std::size(cases));
    for (size_t i = 0; i < events.size(); ++i) {
        EXPECT_TRUE(events[i].built);
        EXPECT_EQ(events[i].fields, cases[i].second) << cases[i].first;
    }
}

TEST_F(UahTest, aRecordOfAnotherSizeEndsThePull) {
    const std::string good = "g,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1,1";
    const std::pair<UahRecord, std::string> cases[] = {
            {{1, "short,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1"}, "short"},
            {{1, "comma,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1,"}, "comma"},  // adds no empty field
            {{1, good + ",18"}, "g"},
            {{1, ""}, ""},
            {{1, int64_t{5}}, ""}};  // holds no text
    for (const auto& [bad, firstField] : cases) {
        SCOPED_TRACE(firstField);
        const auto all = uahEvents({{1, good}, bad, {1, good}});
        ASSERT_EQ(all.size(), 2u);
        EXPECT_TRUE(all[0].built);
        EXPECT_FALSE(all[1].built);
        EXPECT_EQ(all[1].atomId, kUahTag);
        EXPECT_EQ(all[1].fields, Fields{firstField});
    }
    EXPECT_EQ(errors("handleUahDataset error data size"), std::size(cases));
}

TEST_F(UahTest, theHandlerFetchesAtEachPull) {
    const SubstituteProfile profile;
    EXPECT_THAT(pull(kUahTag), IsEmpty());
    const std::string rest = ",1,1,g,1,1,1,1,1,1,1,1,1,1,g,1,1\n";
    profile.write("uah", "one" + rest + "two" + rest);
    const auto fetched = pull(kUahTag);
    ASSERT_EQ(fetched.size(), 2u);
    EXPECT_EQ(fetched[0][0], Field{std::string("one")});
    EXPECT_EQ(fetched[1][0], Field{std::string("two")});
    // What was fetched before the failure is not used.
    profile.write("uah", "one" + rest + "!fail\n");
    EXPECT_THAT(pull(kUahTag), IsEmpty());
}

}  // namespace
}  // namespace zstats
