#include <stdexcept>
#include <thread>

#include "tests/support/FakeVendorServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr int32_t kTag = 150131;
constexpr char kAbsent[] = "W handleTouchRefreshRateLevel getService failed";
constexpr char kUnreadable[] = "D handleTouchRefreshRateLevel parse touchReadNodeFile failed";

using TouchAtomTest = HandlerTest;

TEST_F(TouchAtomTest, carriesTheNumberThatTheFirstWordBeginsWith) {
    FakeTouch touch;
    const std::pair<const char*, int32_t> rows[] = {
            {"3\n", 3},     {"12 7", 12}, {"  5", 5},  {"\t\n\v 8", 8},           {"120Hz", 120},
            {"007", 7},     {"0", 0},     {"0x1f", 0}, {"2147483647", INT32_MAX}, {"1.5", 1},
            {"4\u00e9", 4},
    };
    for (const auto& [text, value] : rows) {
        touch.setText(text);
        EXPECT_THAT(pull(kTag), ElementsAre(value)) << '"' << text << '"';
    }
    EXPECT_THAT(touch.reads().front(), Pair(0, 26));
    EXPECT_EQ(touch.reads().size(), std::size(rows));
    EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(TouchAtomTest, isAbsentWhenTheFirstWordBeginsOtherwise) {
    FakeTouch touch;
    for (const char* text : {"", " \n", "-1", "+1", "x1", " -", "\u0663"}) {
        touch.setText(text);
        gLogLevel = 1;
        EXPECT_THAT(pull(kTag), IsEmpty()) << '"' << text << '"';
        EXPECT_THAT(takeLines(), IsEmpty());
        gLogLevel = 2;
        pull(kTag);
        EXPECT_EQ(takeLines().back(), kUnreadable);
    }
}

TEST_F(TouchAtomTest, aNumberBeyondIntLeavesTheHandler) {
    FakeTouch touch;
    for (const char* text : {"2147483648", "99999999999999999999 1"}) {
        touch.setText(text);
        EXPECT_THROW(pull(kTag), std::out_of_range) << text;
    }
}

TEST_F(TouchAtomTest, theTextCountsWhateverTheStatus) {
    FakeTouch touch;
    touch.publishLocal();
    touch.setText("6");
    touch.fail();
    EXPECT_THAT(pull(kTag), ElementsAre(6));

    // Through a proxy an error status brings no text.
    FakeTouch remote;
    remote.setText("6");
    remote.fail();
    ZStatsPullAtomCallback other;
    EXPECT_THAT(pullInts(other, kTag), IsEmpty());
    EXPECT_EQ(remote.reads().size(), 1u);
}

TEST_F(TouchAtomTest, anAbsentServiceIsLookedUpAtEachPull) {
    for (const int32_t level : {0, 1}) {
        gLogLevel = level;
        EXPECT_THAT(pull(kTag), IsEmpty());
        EXPECT_THAT(takeLines(), ElementsAre(kAbsent)) << level;
    }
    gLogLevel = -1;
    EXPECT_THAT(pull(kTag), IsEmpty());
    EXPECT_THAT(takeLines(), IsEmpty());

    FakeTouch touch;
    touch.setText("3");
    inprocess::hideServiceManager(true);
    EXPECT_THAT(pull(kTag), IsEmpty());
    inprocess::hideServiceManager(false);
    EXPECT_THAT(pull(kTag), ElementsAre(3));
}

TEST_F(TouchAtomTest, aDeadServiceIsNeverGivenUp) {
    FakeTouch touch;
    touch.setText("3");
    EXPECT_THAT(pull(kTag), ElementsAre(3));
    touch.remote().die();
    touch.publish();
    EXPECT_THAT(pull(kTag), IsEmpty());
    EXPECT_THAT(takeLines(), IsEmpty());
    EXPECT_EQ(touch.reads().size(), 1u);

    ZStatsPullAtomCallback restarted;
    EXPECT_THAT(pullInts(restarted, kTag), ElementsAre(3));
}

TEST_F(TouchAtomTest, firstPullsMayRunAtOnce) {
    FakeTouch touch;
    touch.setText("3");
    std::vector<std::thread> pullers;
    for (int i = 0; i < 4; ++i) {
        pullers.emplace_back([&] { EXPECT_THAT(pull(kTag), ElementsAre(3)); });
    }
    for (std::thread& puller : pullers) puller.join();
    EXPECT_EQ(touch.reads().size(), 4u);
}

}  // namespace
}  // namespace zstats
