#include <limits>

#include "atoms/AudioUsageAtoms.h"
#include "tests/support/SubstituteProfile.h"
#include "tests/unit/perf/PerfKit.h"

namespace zstats {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int32_t kAudioTag = 150112;
constexpr int32_t kUahTag = 150136;

class AudioTest : public PerfTest {};

TEST_F(AudioTest, theReplyIsReadAsANumber) {
    FakeAudio audio;
    const struct {
        const char* text;
        float value;
    } cases[] = {
            {"1.25", 1.25f},
            {"", 0.0f},
            {"none", 0.0f},
            {" -3.5 W", -3.5f},
            {"1e999", std::numeric_limits<float>::infinity()},
    };
    for (const auto& c : cases) {
        audio.set(c.text);
        EXPECT_THAT(pull(kAudioTag), ElementsAre(Fields{c.value})) << c.text;
    }
    audio.setNoText();
    EXPECT_THAT(pull(kAudioTag), ElementsAre(Fields{0.0f}));
    EXPECT_EQ(audio.request(), std::string("PAPowerMonitorResult\0\0\0\0", 24));
    EXPECT_EQ(audio.remote().calls(FakeAudio::kMonitor), 6);
}

TEST_F(AudioTest, aServiceThatRefusesIsReported) {
    FakeAudio audio;
    const struct {
        android::status_t status;
        std::string text;
    } cases[] = {
            {android::PERMISSION_DENIED, "Operation not permitted"},
            {android::UNKNOWN_ERROR, strerror(std::numeric_limits<int>::min())},
            {android::DEAD_OBJECT, "Broken pipe"},  // last: a proxy that saw it stays dead
    };
    for (const auto& c : cases) {
        audio.remote().failCalls(c.status);
        EXPECT_THAT(pull(kAudioTag), IsEmpty());
        EXPECT_TRUE(mLog.contains(ANDROID_LOG_ERROR,
                                  "Error invoking remote service: " + c.text + "\n"));
    }
}

TEST_F(AudioTest, theServiceIsLookedUpAtEachPull) {
    EXPECT_THAT(pull(kAudioTag), IsEmpty());
    EXPECT_EQ(mLog.count(ANDROID_LOG_ERROR, "Cannot connect to service: audio"), 1u);
    {
        FakeAudio audio;
        audio.set("2");
        EXPECT_THAT(pull(kAudioTag), ElementsAre(Fields{2.0f}));
    }
    EXPECT_THAT(pull(kAudioTag), IsEmpty());
    EXPECT_EQ(mLog.count(ANDROID_LOG_ERROR, "Cannot connect to service: audio"), 2u);
    inprocess::hideServiceManager(true);
    EXPECT_THAT(pull(kAudioTag), IsEmpty());
    EXPECT_EQ(mLog.count(ANDROID_LOG_ERROR, "Cannot connect to service: audio"), 3u);
}

class UahTest : public PerfTest {
  protected:
    std::vector<Event> events(const std::vector<UahRecord>& records) {
        return eventsFrom([&](AStatsEventList* list) { appendUahEvents(records, kUahTag, list); });
    }
};

UahRecord record(const std::string& text) {
    return {1, text};
}

TEST_F(UahTest, seventeenFieldsInTheirTypes) {
    const auto all =
            events({record("app,1,2,launch,3,4,5,6,7,8,9,10,11,12,tail,13,14"),
                    record(",x,-2,,0x3,5000000000,,,,,,,,,,1,2,"), record("a,,,,,,,,,,,,,,,,7")});
    const int64_t zero = 0;
    EXPECT_THAT(
            fieldsOf(all, kUahTag),
            ElementsAre(Fields{std::string("app"), 1, 2, std::string("launch"), 3, int64_t{4},
                               int64_t{5}, int64_t{6}, int64_t{7}, 8, 9, int64_t{10}, 11,
                               int64_t{12}, std::string("tail"), int64_t{13}, 14},
                        Fields{std::string(), 0, -2, std::string(), 0, int64_t{5'000'000'000}, zero,
                               zero, zero, 0, 0, zero, 0, zero, std::string(), int64_t{1}, 2},
                        Fields{std::string("a"), 0, 0, std::string(), 0, zero, zero, zero, zero, 0,
                               0, zero, 0, zero, std::string(), zero, 7}));
    EXPECT_EQ(mLog.count(ANDROID_LOG_ERROR, "handleUahDataset error data size"), 0u);
}

TEST_F(UahTest, aRecordOfAnotherSizeEndsThePull) {
    const std::string good = "g,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1,1";
    const struct {
        UahRecord bad;
        std::string firstField;
    } cases[] = {
            {record("short,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1"), "short"},
            {record("comma,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1,"), "comma"},  // adds no empty field
            {record(good + ",18"), "g"},
            {record(""), ""},
            {{1, int64_t{5}}, ""},  // holds no text
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.firstField);
        mLog.clear();
        const auto all = events({record(good), c.bad, record(good)});
        ASSERT_EQ(all.size(), 2u);
        EXPECT_TRUE(all[0].built);
        EXPECT_FALSE(all[1].built);
        EXPECT_EQ(all[1].atomId, kUahTag);
        EXPECT_EQ(all[1].fields, Fields{c.firstField});
        EXPECT_EQ(mLog.count(ANDROID_LOG_ERROR, "handleUahDataset error data size"), 1u);
    }
}

TEST_F(UahTest, theHandlerFetchesAtEachPull) {
    const SubstituteProfile profile;
    EXPECT_THAT(pull(kUahTag), IsEmpty());
    profile.write("uah",
                  "one,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1,1\ntwo,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1,1");
    const auto fetched = pull(kUahTag);
    ASSERT_EQ(fetched.size(), 2u);
    EXPECT_EQ(fetched[0][0], Field{std::string("one")});
    EXPECT_EQ(fetched[1][0], Field{std::string("two")});
    // What was fetched before the failure is not used.
    profile.write("uah", "one,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1,1\n!fail\n");
    EXPECT_THAT(pull(kUahTag), IsEmpty());
}

}  // namespace
}  // namespace zstats
