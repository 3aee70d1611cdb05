#include <stdexcept>

#include "atoms/CpuAtoms.h"
#include "tests/unit/perf/PerfKit.h"

namespace zstats {
namespace {

constexpr int32_t kLeakageTag = 150018;
constexpr int32_t kIdleTag = 150121;
constexpr int32_t kSchedTag = 150141;
const std::string kReading = "ZStatsPullAtomCallback::getContentByHandleKeyDebug ";

class CpuTest : public PerfTest {
  protected:
    std::vector<Fields> idleEvents(int stateCount, const std::string& range) {
        return fieldsFrom(kIdleTag, [&](AStatsEventList* list) {
            appendCpuIdleEvents(mTree.path("cpu"), stateCount, range, kIdleTag, list);
        });
    }

    TempTree mTree;
};

Fields idle(int32_t cpu, int64_t timeMs) {
    return {cpu, timeMs};
}

TEST_F(CpuTest, idleTimeIsTheSumOverTheStates) {
    mTree.write("cpu0/cpuidle/state0/time", "1000000\n");
    mTree.write("cpu0/cpuidle/state1/time", "999999\n");
    mTree.write("cpu0/cpuidle/state2/time", "5000000\n");
    mTree.write("cpu1/cpuidle/state1/time", "-1999\n");
    mTree.write("cpu3/cpuidle/state0/time", "9223372036854775807");
    mTree.write("cpu3/cpuidle/state1/time", "1");
    EXPECT_THAT(idleEvents(2, "0-1\n"), ElementsAre(idle(0, 1999), idle(1, -1)));
    EXPECT_THAT(idleEvents(8, "0-0"), ElementsAre(idle(0, 6999)));
    EXPECT_THAT(idleEvents(2, "2-3"), ElementsAre(idle(2, 0), idle(3, INT64_MIN / 1000)));
    EXPECT_TRUE(debugs(kReading + "Print the content of the file: 999999\n "));
    EXPECT_TRUE(debugs(kReading + "Failed to open the file! node path dir: " +
                       mTree.path("cpu2/cpuidle/state0/time") + ", isOpen:0 "));
}

TEST_F(CpuTest, rangesOfCpus) {
    EXPECT_THAT(idleEvents(1, "2-3 4"), ElementsAre(idle(2, 0), idle(3, 0)));
    for (const char* nothing : {"", "7", "7\n", "4-3", "5-2147483647", "0--1", "0--5"}) {
        EXPECT_THAT(idleEvents(1, nothing), IsEmpty()) << nothing;
    }
    EXPECT_THAT(idleEvents(1, "2-2"), ElementsAre(idle(2, 0)));
    for (const char* malformed : {"-", "-3", "0-", "a-3", "0-b"}) {
        EXPECT_THROW(idleEvents(1, malformed), std::invalid_argument) << malformed;
    }
    EXPECT_THROW(idleEvents(1, "0-99999999999"), std::out_of_range);
}

TEST_F(CpuTest, theChipDecidesHowManyStatesThereAre) {
    mTree.write("atag,chipid", "");
    mFactory.set("cpu_index_range", "990-991\n");
    EXPECT_EQ(cpuIdleStateCount(mTree.path("atag,chipid").c_str()), 8);
    EXPECT_EQ(cpuIdleStateCount(mTree.path("absent").c_str()), 0);
    EXPECT_THAT(pull(kIdleTag), IsEmpty());
    EXPECT_EQ(errors("get cpu type failed"), 1u);

    useQcom();
    EXPECT_EQ(cpuIdleStateCount(mTree.path("atag,chipid").c_str()), 2);
    EXPECT_THAT(pull(kIdleTag), ElementsAre(idle(990, 0), idle(991, 0)));
    EXPECT_TRUE(debugs(kReading + "Failed to open the file! node path dir: "
                                  "/sys/devices/system/cpu/cpu991/cpuidle/state1/time, isOpen:0 "));
}

TEST_F(CpuTest, schedulingWordsAreCutByDigits) {
    const std::pair<const char*, std::vector<Fields>> cases[] = {
            {"cpu3:123456789012", {Fields{3, 2, 901, 8, 7, 3456, 12}}},
            {"cpu0:99123456789012", {Fields{0, 2, 901, 8, 7, 3456, 12}}},
            {"cpu1:5 cpu0:0\ncpu1:7", {Fields{0, 0, 0, 0, 0, 0, 0}, Fields{1, 7, 0, 0, 0, 0, 0}}},
            {"cpu10:5", {}},
            {"cpu2: 5", {}},
            {"xcpu2:12345y", {Fields{2, 5, 234, 1, 0, 0, 0}}},
            {"", {}},
            {"cpu9:9223372036854775807", {Fields{9, 7, 580, 7, 7, 6854, 3}}}};
    for (const auto& [content, events] : cases) {
        mFactory.set("perf_schedinfo", content);
        EXPECT_EQ(pull(kSchedTag), events) << content;
    }
    AStatsEventList list;
    EXPECT_THROW(appendPerfSchedinfoEvents("cpu0:1 cpu1:9223372036854775808", kSchedTag, &list),
                 std::out_of_range);
    EXPECT_EQ(encodedEvents(list).size(), 1u);
}

TEST_F(CpuTest, leakageIsAlwaysReported) {
    EXPECT_THAT(pull(kLeakageTag), ElementsAre(Fields{-1, -1}));
    mFactory.set("cpu_leakage_type", "3\n");
    mFactory.set("cpu_core", "8");
    EXPECT_THAT(pull(kLeakageTag), ElementsAre(Fields{3, 8}));
    EXPECT_TRUE(debugs("handleCpuLeakageInformation handler for cpuLeakageType = 3, cpuCore = 8"));
}

}  // namespace
}  // namespace zstats
