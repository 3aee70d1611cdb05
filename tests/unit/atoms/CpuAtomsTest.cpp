#include <fcntl.h>

#include <stdexcept>

#include "atoms/CpuAtoms.h"
#include "tests/support/AtomTest.h"
#include "tests/support/OtherRoot.h"

namespace zstats {
namespace {

constexpr int32_t kIdleTag = 150121;
constexpr int32_t kSchedTag = 150141;
constexpr char kRange[] = "cpu_index_range";

class CpuIdleTest : public AtomTest {
  protected:
    Transcript idle(int stateCount, const std::string& range) {
        return transcriptOf(kIdleTag, [&](auto* list) {
            appendCpuIdleEvents(tree.path("cpu"), stateCount, range, kIdleTag, list);
        });
    }

    TempTree tree;
};

TEST_F(CpuIdleTest, timesAreSummedOverTheStates) {
    tree.write("cpu0/cpuidle/state0/time", "1000000\n");
    tree.write("cpu0/cpuidle/state1/time", "0999999\n");
    tree.write("cpu0/cpuidle/state2/time", "5000000\n");
    tree.write("cpu1/cpuidle/state0/time", "0x10");
    tree.write("cpu1/cpuidle/state1/time", "-1999\n");
    tree.write("cpu3/cpuidle/state0/time", "9223372036854775807");
    tree.write("cpu3/cpuidle/state1/time", std::string(256, ' ') + "1");
    // Each read returns the content of one write.
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_DIRECT), 0);
    EXPECT_EQ(write(ends[1], "12", 2) + write(ends[1], "345", 3), 5);
    close(ends[1]);
    tree.write("cpu4/cpuidle/state0/x", "");
    std::filesystem::create_symlink("/proc/self/fd/" + std::to_string(ends[0]),
                                    tree.path("cpu4/cpuidle/state0/time"));
    EXPECT_THAT(idle(2, "0-1\n"), ElementsAre("[0, 1999L]", "[1, -1L]"));
    EXPECT_THAT(idle(8, "0-0"), ElementsAre("[0, 6999L]"));
    EXPECT_THAT(idle(2, "2-4"), ElementsAre("[2, 0L]", "[3, -9223372036854775L]", "[4, 12L]"));
    close(ends[0]);
    gLogLevel = 2;
    const std::string reading = "D ZStatsPullAtomCallback::getContentByHandleKeyDebug ";
    EXPECT_THAT(idle(4, "0-0"),
                ElementsAre(reading + "Print the content of the file: 1000000\n ",
                            reading + "Print the content of the file: 0999999\n ",
                            reading + "Print the content of the file: 5000000\n ",
                            reading + "Failed to open the file! node path dir: " +
                                    tree.path("cpu0/cpuidle/state3/time") + ", isOpen:0 ",
                            "[0, 6999L]"));
}

TEST_F(CpuIdleTest, rangesOfCpus) {
    EXPECT_THAT(idle(1, "2-3 4"), ElementsAre("[2, 0L]", "[3, 0L]"));
    EXPECT_THAT(idle(1, "02-2"), ElementsAre("[2, 0L]"));
    EXPECT_THAT(idle(1, "0-0"), ElementsAre("[0, 0L]"));
    EXPECT_THAT(idle(1, "2147483646-2147483646"), ElementsAre("[2147483646, 0L]"));
    for (const char* many : {"7-24006", "7-24007", "7-2147483646"}) {
        const Transcript events = idle(1, many);
        EXPECT_EQ(events.size(), 24000u) << many;
        EXPECT_EQ(events.back(), "[24006, 0L]") << many;
    }
    for (const char* nothing :
         {"", "7", "7\n", "0:3", "0,3", "4-3", "5-2147483647", "0--1", "0--5"}) {
        EXPECT_THAT(idle(1, nothing), IsEmpty()) << nothing;
    }
    // Both exceptions are uncaught.
    for (const char* malformed : {"-", "-3", "0-", "a-3", "0-b"}) {
        EXPECT_THROW(idle(1, malformed), std::invalid_argument) << malformed;
    }
    set({{kRange, "0-99999999999"}});
    useQcom();
    EXPECT_THROW(pull(kIdleTag), std::out_of_range);
}

TEST_F(CpuIdleTest, thePlatformDecidesHowManyStatesThereAre) {
    tree.write("proc/unknown", "");
    for (const char* cpu : {"8", "9"}) {
        for (const char* state : {"0", "1", "2", "3", "4", "5", "6", "7", "8"}) {
            tree.write(std::string("sys/devices/system/cpu/cpu") + cpu + "/cpuidle/state" + state +
                               "/time",
                       "1000\n");
        }
    }
    const auto check = [this](const Transcript& expected) { EXPECT_EQ(pull(kIdleTag), expected); };
    if (!withTreeAsKernel(tree, [&] { expectPulls(kIdleTag, {"E get cpu type failed"}); })) {
        GTEST_SKIP();
    }
    set({{kRange, "8-9\n"}});
    tree.write("proc/device-tree/chosen/atag,chipid", "");
    withTreeAsKernel(tree, [&] { check({"[8, 8L]", "[9, 8L]"}); });
    useQcom();
    withTreeAsKernel(tree, [&] { check({"[8, 2L]", "[9, 2L]"}); });
    set({{kRange, ""}});
    check({emptyNode(kRange)});
}

using CpuAtomsTest = AtomTest;

TEST_F(CpuAtomsTest, carryTheirNodes) {
    constexpr char kType[] = "cpu_leakage_type";
    constexpr char kCore[] = "cpu_core";
    constexpr char kSched[] = "perf_schedinfo";
    const std::string leakage =
            "D2 PullAtomCallback handleCpuLeakageInformation handler for cpuLeakageType = ";
    expectRows({{150018, {{kType, "03\n"}, {kCore, "8"}}, {leakage + "3, cpuCore = 8", "[3, 8]"}},
                {150018, {{kType, "0"}, {kCore, "x"}}, {leakage + "0, cpuCore = 0", "[0, 0]"}},
                {150018, {}, {kRefused, kRefused, leakage + "-1, cpuCore = -1", "[-1, -1]"}},
                {kSchedTag, {{kSched, "cpu3:123456789012"}}, {"[3, 2, 901, 8, 7, 3456, 12]"}},
                {kSchedTag, {{kSched, "cpu0:99123456789012"}}, {"[0, 2, 901, 8, 7, 3456, 12]"}},
                {kSchedTag,
                 {{kSched, "cpu1:5 cpu0:0\ncpu1:0017"}},
                 {"[0, 0, 0, 0, 0, 0, 0]", "[1, 7, 1, 0, 0, 0, 0]"}},
                {kSchedTag, {{kSched, "xcpu2:12345y"}}, {"[2, 5, 234, 1, 0, 0, 0]"}},
                {kSchedTag, {{kSched, "cpu9:9223372036854775807"}}, {"[9, 7, 580, 7, 7, 6854, 3]"}},
                {kSchedTag, {{kSched, "cpu10:5 cpu2: 5 cpu3:-1 CPU4:1 cpu5=5 cpu6 :5 cpu7:+5"}}, {}},
                {kSchedTag, {{kSched, ""}}, {emptyNode(kSched)}}});
    set({{kSched, "cpu0:1 cpu1:9223372036854775808"}});
    AStatsEventList list;
    EXPECT_THROW(pullInto(&list, callback, kSchedTag), std::out_of_range);
    EXPECT_THAT(textsOf(list, kSchedTag), ElementsAre("[0, 1, 0, 0, 0, 0, 0]"));
}

}  // namespace
}  // namespace zstats
