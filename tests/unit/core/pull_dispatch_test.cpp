#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <thread>

#include "daemon/AtomTable.h"
#include "daemon/Log.h"
#include "daemon/PullDispatch.h"
#include "host/stats/EventList.h"
#include "tests/unit/core/StatsdTest.h"

namespace zstats {
namespace {

constexpr auto kPatience = std::chrono::seconds(20);

class PullDispatch : public testing::Test {
  protected:
    ~PullDispatch() override {
        gLogLevel = 1;
        inprocess::reset();
    }

    ZStatsPullAtomCallback mCallback;
    AStatsEventList mList;
};

TEST_F(PullDispatch, theTableHasAHandlerForEveryAtomAndNoOther) {
    EXPECT_EQ(gAtomHandlers.size(), kAtomCount);
    for (const AtomEntry& entry : kAtomTable) {
        EXPECT_TRUE(getAtomHandler(gAtomHandlers, mCallback, entry.tag)) << entry.tag;
    }
    for (const int32_t tag : {0, -1, 150012, 150168, 100207, INT32_MAX}) {
        EXPECT_EQ(onPullAtom(tag, &mList, &mCallback), AStatsManager_PULL_SUCCESS) << tag;
        EXPECT_TRUE(mList.events.empty()) << tag;
    }
}

TEST_F(PullDispatch, oneHandlerRunsOnceOnTheSameObjects) {
    int calls = 0;
    const AtomHandler note = [&](ZStatsPullAtomCallback& callback, int32_t tag,
                                 AStatsEventList* list) {
        ++calls;
        EXPECT_EQ(&callback, &mCallback);
        EXPECT_EQ(tag, -7);
        EXPECT_EQ(list, &mList);
    };
    const AtomHandler wrong = [](ZStatsPullAtomCallback&, int32_t tag, AStatsEventList*) {
        ADD_FAILURE() << "the handler of " << tag;
    };
    const AtomHandlerTable table = {{1, wrong}, {-7, note}, {INT32_MAX, wrong}, {0, wrong}};
    EXPECT_EQ(pullAtom(table, mCallback, -7, &mList), AStatsManager_PULL_SUCCESS);
    EXPECT_EQ(calls, 1);
}

TEST_F(PullDispatch, theSearchIsToldAtLevelTwoOnly) {
    const AtomHandlerTable table = {{5, [](ZStatsPullAtomCallback&, int32_t, AStatsEventList*) {}}};
    LogCapture log;
    for (const int32_t level : {1, 2}) {
        gLogLevel = level;
        pullAtom(table, mCallback, 5, &mList);
        pullAtom(table, mCallback, 6, &mList);
    }
    const std::string head = "D PullAtomCallback getAtomHandler ";
    EXPECT_EQ(daemonLines(log), (Lines{head + "find matching handler for atomTag = 5",
                                       head + "do not find matching handler for atomTag = 6"}));
}

TEST_F(PullDispatch, pullsAtTheSameTimeDoNotWaitForOneAnother) {
    // Each handler ends only once the other one runs: in turn they would never end.
    std::promise<void> running[2];
    std::shared_future<void> isRunning[2] = {running[0].get_future(), running[1].get_future()};
    std::future_status met[2] = {std::future_status::timeout, std::future_status::timeout};
    const AtomHandler meet = [&](ZStatsPullAtomCallback&, int32_t tag, AStatsEventList*) {
        running[tag].set_value();
        met[tag] = isRunning[1 - tag].wait_for(kPatience);
    };
    const AtomHandlerTable table = {{0, meet}, {1, meet}};
    AStatsEventList otherList;
    std::thread other([&] { pullAtom(table, mCallback, 1, &otherList); });
    pullAtom(table, mCallback, 0, &mList);
    other.join();
    EXPECT_EQ(met[0], std::future_status::ready);
    EXPECT_EQ(met[1], std::future_status::ready);
}

}  // namespace
}  // namespace zstats
