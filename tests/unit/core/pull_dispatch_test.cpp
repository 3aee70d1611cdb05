#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "daemon/AtomTable.h"
#include "daemon/Log.h"
#include "daemon/PullDispatch.h"
#include "host/inprocess/InProcessBinder.h"
#include "host/stats/EventList.h"
#include "tests/support/LogCapture.h"

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

TEST_F(PullDispatch, theTableHoldsEveryAtomOnce) {
    EXPECT_EQ(gAtomHandlers.size(), kAtomCount);
    for (const AtomEntry& entry : kAtomTable) {
        const auto found = gAtomHandlers.find(entry.tag);
        ASSERT_NE(found, gAtomHandlers.end()) << entry.tag;
        EXPECT_TRUE(found->second) << entry.tag;
    }
    EXPECT_EQ(gAtomHandlers.max_load_factor(), 1.0f);
}

TEST_F(PullDispatch, oneHandlerRunsOnceOnTheSameObjects) {
    struct Call {
        ZStatsPullAtomCallback* callback;
        int32_t tag;
        AStatsEventList* list;
    };
    std::vector<Call> calls;
    const AtomHandler note = [&](ZStatsPullAtomCallback& callback, int32_t tag,
                                 AStatsEventList* list) {
        calls.push_back({&callback, tag, list});
    };
    const AtomHandler wrong = [](ZStatsPullAtomCallback&, int32_t tag, AStatsEventList*) {
        ADD_FAILURE() << "the handler of " << tag;
    };
    const AtomHandlerTable table = {{1, wrong}, {-7, note}, {INT32_MAX, wrong}, {0, wrong}};
    EXPECT_EQ(pullAtom(table, mCallback, -7, &mList), AStatsManager_PULL_SUCCESS);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].callback, &mCallback);
    EXPECT_EQ(calls[0].tag, -7);
    EXPECT_EQ(calls[0].list, &mList);
}

TEST_F(PullDispatch, anUnknownTagIsAPullWithoutData) {
    for (const int32_t tag : {0, -1, 150012, 150168, 100207, INT32_MAX}) {
        SCOPED_TRACE(tag);
        EXPECT_EQ(onPullAtom(tag, &mList, &mCallback), AStatsManager_PULL_SUCCESS);
        EXPECT_TRUE(mList.events.empty());
    }
}

TEST_F(PullDispatch, theSearchIsToldAtLevelTwoOnly) {
    const AtomHandlerTable table = {{5, [](ZStatsPullAtomCallback&, int32_t, AStatsEventList*) {}}};
    LogCapture log;
    pullAtom(table, mCallback, 5, &mList);
    pullAtom(table, mCallback, 6, &mList);
    EXPECT_TRUE(log.linesOf("zstats_pullerd").empty());
    gLogLevel = 2;
    pullAtom(table, mCallback, 5, &mList);
    pullAtom(table, mCallback, 6, &mList);
    EXPECT_EQ(log.linesOf("zstats_pullerd").size(), 2u);
    EXPECT_TRUE(log.contains(ANDROID_LOG_DEBUG,
                             "PullAtomCallback getAtomHandler find matching handler for "
                             "atomTag = 5"));
    EXPECT_TRUE(log.contains(ANDROID_LOG_DEBUG,
                             "PullAtomCallback getAtomHandler do not find matching handler for "
                             "atomTag = 6"));
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

TEST_F(PullDispatch, theHandlerLockIsFreeWhileAHandlerRuns) {
    bool isFree = false;
    const AtomHandlerTable table = {{5, [&](ZStatsPullAtomCallback&, int32_t, AStatsEventList*) {
                                         // Tried from elsewhere: its own thread always gets it.
                                         std::thread([&] {
                                             isFree = mCallback.handlerLock().try_lock();
                                             if (isFree) mCallback.handlerLock().unlock();
                                         }).join();
                                     }}};
    pullAtom(table, mCallback, 5, &mList);
    EXPECT_TRUE(isFree);
}

}  // namespace
}  // namespace zstats
