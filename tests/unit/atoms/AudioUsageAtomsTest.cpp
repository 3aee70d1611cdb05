#include "atoms/AudioUsageAtoms.h"
#include "tests/support/AtomTest.h"

namespace {
std::vector<UahRecord> gDataset;
int gResult = 0;
int gFetches = 0;
}  // namespace

// Replaces the substitute.
int Uah_fetch_dataset(std::vector<UahRecord>* records) {
    ++gFetches;
    records->insert(records->end(), gDataset.begin(), gDataset.end());
    return gResult;
}

namespace zstats {
namespace {

constexpr int32_t kAudioTag = 150112;
constexpr int32_t kUahTag = 150136;

using AudioAtomTest = AtomTest;

TEST_F(AudioAtomTest, readsTheReplyAsANumber) {
    expectPulls(kAudioTag, {"E Cannot connect to service: audio"});
    FakeAudio audio;
    const std::pair<const char*, const char*> rows[] = {
            {"1.25", "[1.25f]"}, {"", "[0f]"},    {"none", "[0f]"}, {" -3.5 W", "[-3.5f]"},
            {"1e999", "[inff]"}, {"007", "[7f]"}, {"0x10", "[16f]"}};
    for (const auto& [text, event] : rows) {
        audio.set(text);
        expectPulls(kAudioTag, {event});
    }
}

class UsageAtomTest : public AtomTest {
  protected:
    void expectEvents(const std::vector<UahRecord>& records, const Transcript& expected) {
        const auto append = [&](auto* list) { appendUahEvents(records, kUahTag, list); };
        expectAtLevels(expected, [&] { return transcriptOf(kUahTag, append); });
    }
};

TEST_F(UsageAtomTest, aRecordHasSeventeenFieldsOrEndsThePull) {
    const UahRecord good = {1, "app,010,0x2,launch,3,4,5,6,7,8,9,10,11,12,t;a i\tl,5000000000,14"};
    const std::string goodEvent =
            "[\"app\", 10, 0, \"launch\", 3, 4L, 5L, 6L, 7L, 8, 9, 10L, 11, 12L, \"t;a i\\tl\", "
            "5000000000L, 14]";
    expectEvents(
            {good,
             {1,
              ",x,-2,,-3,5000000000,6000000000,7000000000,8000000000,,,9000000000,,"
              "5000000001,2,,1"},
             {1, "a,,,,,,,,,,,,,,,,7"}},
            {goodEvent,
             "[\"\", 0, -2, \"\", -3, 5000000000L, 6000000000L, 7000000000L, 8000000000L, 0, 0, "
             "9000000000L, 0, 5000000001L, \"2\", 0L, 1]",
             "[\"a\", 0, 0, \"\", 0, 0L, 0L, 0L, 0L, 0, 0, 0L, 0, 0L, \"\", 0L, 7]"});
    const std::pair<UahRecord, const char*> rows[] = {
            {{1, "short,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1"}, "short"},
            {{1, "comma,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1,"}, "comma"},  // adds no empty field
            {{1, "long,1,1,g,1,1,1,1,1,1,1,1,1,1,g,1,17,18"}, "long"},
            {{1, ""}, ""},
            {{1, int64_t{5}}, ""}};  // holds no text
    for (const auto& [bad, firstField] : rows) {
        expectEvents({good, bad, good}, {"E handleUahDataset error data size", goodEvent,
                                         std::string("[\"") + firstField + "\"] unbuilt"});
    }
}

TEST_F(UsageAtomTest, fetchesAtEachPull) {
    const std::string record = ",1,1,g,1,1,1,1,1,1,1,1,1,1,g,1,1";
    const std::string event = "\", 1, 1, \"g\", 1, 1L, 1L, 1L, 1L, 1, 1, 1L, 1, 1L, \"g\", 1L, 1]";
    gDataset = {{1, "one" + record}, {2, "two" + record}};
    for (const int result : {0, 1}) {  // any result that is not negative is a success
        gResult = result;
        expectPulls(kUahTag, {"[\"one" + event, "[\"two" + event});
    }
    gResult = -1;
    expectPulls(kUahTag, {});
    gDataset.clear();
    gResult = 0;
    expectPulls(kUahTag, {});
    EXPECT_EQ(gFetches, (2 + 1 + 1) * 3) << "one for each pull";
}

}  // namespace
}  // namespace zstats
