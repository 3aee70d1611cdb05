#include <gtest/gtest.h>

#include <future>
#include <string>

#include "daemon/AtomTable.h"
#include "daemon/PullDispatch.h"
#include "daemon/base/Log.h"
#include "host/stats/EventList.h"
#include "tests/support/LogCapture.h"

namespace zstats {
namespace {

class PullDispatchTest : public testing::Test {
  protected:
    ~PullDispatchTest() override { gLogLevel = 1; }

    /** True when another thread could search the table now. */
    bool lockIsFree() {
        return std::async(std::launch::async,
                          [this] {
                              const std::unique_lock lock(mCallback.handlerLock(), std::try_to_lock);
                              return lock.owns_lock();
                          })
                .get();
    }

    ZStatsPullAtomCallback mCallback;
    AStatsEventList mList;
    LogCapture mLog;
};

TEST_F(PullDispatchTest, TableHasAHandlerForEveryAtomAndNoOther) {
    EXPECT_EQ(gAtomHandlers.size(), kAtomCount);
    for (const AtomEntry& entry : kAtomTable) EXPECT_EQ(gAtomHandlers.count(entry.tag), 1u);
    for (const int32_t tag : {0, -1, 150012, 150168, 100207, INT32_MAX}) {
        EXPECT_EQ(onPullAtom(tag, &mList, &mCallback), 0) << tag;
    }
    EXPECT_TRUE(mList.events.empty());
    EXPECT_EQ(mLog.take(), Lines{});
}

/** Without the lock, so that pulls do not wait for each other. */
TEST_F(PullDispatchTest, RunsOneHandlerOnceOnTheSameObjectsWithoutTheLock) {
    int calls = 0;
    const AtomHandler wrong = [](ZStatsPullAtomCallback&, int32_t, AStatsEventList*) { abort(); };
    const AtomHandler right = [&](ZStatsPullAtomCallback& callback, int32_t tag,
                                  AStatsEventList* list) {
        ++calls;
        EXPECT_EQ(&callback, &mCallback);
        EXPECT_EQ(tag, -7);
        EXPECT_EQ(list, &mList);
        EXPECT_TRUE(lockIsFree());
    };
    const AtomHandlerTable table = {{1, wrong}, {-7, right}, {INT32_MAX, wrong}, {0, wrong}};
    EXPECT_EQ(pullAtom(table, mCallback, -7, &mList), 0);
    EXPECT_EQ(calls, 1);
}

TEST_F(PullDispatchTest, TellsAtLevelTwoOfItsSearchWhichHoldsTheLock) {
    const AtomHandlerTable table = {{5, [](ZStatsPullAtomCallback&, int32_t, AStatsEventList*) {}}};
    const std::string head = "PullAtomCallback getAtomHandler ";
    const std::string found = head + "find matching handler for atomTag = 5";
    bool wasFree = true;
    mLog.whenLogged(found, [&] { wasFree = lockIsFree(); });
    expectLines(mLog,
                {"D2 " + found, "D2 " + head + "do not find matching handler for atomTag = 6"}, [&] {
                    pullAtom(table, mCallback, 5, &mList);
                    pullAtom(table, mCallback, 6, &mList);
                });
    EXPECT_FALSE(wasFree);
}

}  // namespace
}  // namespace zstats
