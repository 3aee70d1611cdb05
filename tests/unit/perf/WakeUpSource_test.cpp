#include "atoms/ActivityWakeUpSourceAtom.h"
#include "tests/unit/perf/PerfKit.h"

namespace zstats {
namespace {

using Attributes = std::map<std::string, std::string>;

constexpr int32_t kWakeUpTag = 150020;

class WakeUpSourceTest : public PerfTest {
  protected:
    void add(const std::string& source, const Attributes& attributes) {
        for (const auto& [name, content] : attributes) mTree.write(source + "/" + name, content);
    }

    std::vector<Fields> wakeUpEvents() {
        return fieldsFrom(kWakeUpTag, [&](AStatsEventList* list) {
            std::vector<WakeLockInfo> records;
            getWakeLockStatsAt(mTree.path("").c_str(), &records);
            appendWakeLockEvents(records, kWakeUpTag, list);
        });
    }

    const Attributes mComplete = {{"active_time_ms", "1500\n"},
                                  {"active_count", "1\n"},
                                  {"event_count", "2\n"},
                                  {"last_change_ms", "3\n"},
                                  {"name", "abc\n"},
                                  {"expire_count", "4\n"},
                                  {"max_time_ms", "5\n"},
                                  {"total_time_ms", "7\n"},
                                  {"prevent_suspend_time_ms", "6\n"},
                                  {"wakeup_count", "8\n"}};
    const TempTree mTree;
};

Fields event(const std::string& name, int64_t activeTime, int64_t maxTime) {
    return {name, int64_t{1}, int64_t{3}, maxTime,    int64_t{7}, true,      activeTime,
            true, -1,         int64_t{2}, int64_t{4}, int64_t{6}, int64_t{8}};
}

TEST_F(WakeUpSourceTest, anActiveSourceIsReportedWhole) {
    add("wakeup0", mComplete);
    EXPECT_THAT(wakeUpEvents(), ElementsAre(event("abc", 1500, 5)));
    add("wakeup0", {{"active_time_ms", "1\n5\n0"}, {"name", "a\nb\n"}});
    EXPECT_THAT(wakeUpEvents(), ElementsAre(event("ab", 150, 5)));
}

TEST_F(WakeUpSourceTest, missingAttributesStayZero) {
    Attributes attributes = mComplete;
    attributes.erase("max_time_ms");
    attributes["name"] = "";
    add("wakeup1", attributes);
    EXPECT_THAT(wakeUpEvents(), ElementsAre(event("", 1500, 0)));
    add("wakeup1", {{"max_time_ms", "many"}, {"name", "n"}});
    EXPECT_THAT(wakeUpEvents(), ElementsAre(event("n", 1500, 0)));
}

TEST_F(WakeUpSourceTest, sourcesWithoutActiveTimeAreLeftOut) {
    for (const char* time : {"0\n", "\n", "-5\n", "off"}) {
        add("wakeup2", mComplete);
        add("wakeup2", {{"active_time_ms", time}});
        EXPECT_THAT(wakeUpEvents(), IsEmpty()) << time;
    }
    EXPECT_THAT(mLog.linesOf(kLogTag), IsEmpty());
    add("wakeup2", {{"active_time_ms", ""}});
    EXPECT_THAT(wakeUpEvents(), IsEmpty());
    EXPECT_TRUE(debugs("ActivityWakeUpSourceAtom readFile is fail 0"));
    mTree.write("wakeup3/name", "x");
    EXPECT_THAT(wakeUpEvents(), IsEmpty());
    EXPECT_TRUE(debugs("ActivityWakeUpSourceAtom readFile is fail -2"));
}

TEST_F(WakeUpSourceTest, oneBrokenSourceDoesNotLoseTheOthers) {
    add("wakeup4", mComplete);
    mTree.write("wakeup5/active_time_ms/a_folder", "");
    mTree.write("a_file", "");
    std::vector<WakeLockInfo> records(1);
    getWakeLockStatsAt(mTree.path("").c_str(), &records);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[1].name, "abc");
    EXPECT_TRUE(records[1].isActive);
    EXPECT_TRUE(debugs("ActivityWakeUpSourceAtom readFile is fail -21"));
    EXPECT_TRUE(debugs("ActivityWakeUpSourceAtom readFile is fail -20"));

    mLog.clear();
    getWakeLockStatsAt(mTree.path("absent/").c_str(), &records);
    EXPECT_EQ(records.size(), 2u);
    EXPECT_THAT(mLog.linesOf(kLogTag), IsEmpty());
}

}  // namespace
}  // namespace zstats
