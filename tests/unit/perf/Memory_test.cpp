#include <stdexcept>

#include "atoms/MemoryStorageAtoms.h"
#include "tests/unit/perf/PerfKit.h"

namespace zstats {
namespace {

constexpr int32_t kLpmTag = 150013;
constexpr int32_t kDdrTag = 150027;
constexpr int32_t kUfsTimeTag = 150028;
constexpr int32_t kAllocstallTag = 150113;
constexpr int32_t kUfsTotalTag = 150135;

using MemoryTest = PerfTest;

Fields residency(int32_t freqMhz, int64_t timeMs) {
    return {freqMhz, timeMs};
}

std::vector<Fields> ddrEvents(const std::string& content, std::map<int32_t, int64_t>& lastMs) {
    return fieldsFrom(kDdrTag, [&](AStatsEventList* list) {
        appendDdrResidencyEvents(content, lastMs, kDdrTag, list);
    });
}

TEST_F(MemoryTest, ddrLinesAreReadByTheirMarks) {
    const std::pair<const char*, std::vector<Fields>> cases[] = {
            {"Freq: 2133 Mhz Time(msec):123456 x", {residency(2133, 123456)}},
            {"Freq:\t547Mhz,Time(msec):\r\t7", {residency(547, 7)}},
            {"Freq:1 Mhz Time(msec):2\nFreq:3 Mhz Time(msec):4\n",
             {residency(1, 2), residency(3, 4)}},
            {"header\n\nFreq:1 MHz Time(msec):2\nFreq:1 Mhz Time:2\n1 Mhz Time(msec):2", {}},
            {"Time(msec):5 Freq: 9 Mhz", {}},                     // the marks have an order
            {"DDR Freq: 9 Mhz Time(msec):5", {residency(0, 5)}},  // index 5, whatever stands there
            {"12345678 Freq Mhz Time(msec):5", {residency(678, 5)}},
            {"Freq: x Mhz Time(msec):y", {residency(0, 0)}},
            {"Freq:-2 Mhz Time(msec):-3", {residency(-2, -3)}},
            {"Freq:1 Mhz Time(msec):\f\n7", {residency(1, 0)}},  // a number ends with its line
            {"", {}}};
    for (const auto& [content, events] : cases) {
        std::map<int32_t, int64_t> lastMs;
        EXPECT_EQ(ddrEvents(content, lastMs), events) << content;
    }
}

TEST_F(MemoryTest, aBlankNumberInADdrLineThrows) {
    // In the last but one the text of the time is the one blank.
    for (const char* line :
         {"Freq:  Mhz Time(msec):1", "Freq:Mhz Time(msec):1", "FreqMhz Time(msec):1",
          "Freq:1 Mhz Time(msec):", "Freq:1 Mhz Time(msec): 5", "Freq:1 Mhz Time(msec):\t\r"}) {
        SCOPED_TRACE(line);
        std::map<int32_t, int64_t> lastMs;
        AStatsEventList list;
        EXPECT_THROW(appendDdrResidencyEvents(std::string("Freq:8 Mhz Time(msec):1\n") + line,
                                              lastMs, kDdrTag, &list),
                     std::out_of_range);
        EXPECT_EQ(encodedEvents(list).size(), 1u);
    }
    useQcom();
    mFactory.set("power_ddr_residency", "Freq:1 Mhz Time(msec): 5");
    AStatsEventList list;
    EXPECT_THROW(callback().handleDdrFreqTimeInformation(kDdrTag, &list), std::out_of_range);
}

TEST_F(MemoryTest, ddrTimesAreThoseSinceTheLastPull) {
    useQcom();
    constexpr char kBoth[] = "Freq: 2133 Mhz Time(msec):123999 \nFreq: 547 Mhz Time(msec):40 \n";
    mFactory.setSeries("power_ddr_residency",
                       {"Freq: 2133 Mhz Time(msec):123456 \n", kBoth,
                        "Freq: 547 Mhz Time(msec):30 \n", "Freq: 2133 Mhz Time(msec):124000 \n"});
    EXPECT_THAT(pull(kDdrTag), ElementsAre(residency(2133, 123456)));
    EXPECT_THAT(pull(kDdrTag), ElementsAre(residency(2133, 543), residency(547, 40)));
    EXPECT_THAT(pull(kDdrTag), ElementsAre(residency(547, -10)));
    EXPECT_THAT(pull(kDdrTag), ElementsAre(residency(2133, 1)));

    std::map<int32_t, int64_t> lastMs = {{1, INT64_MAX}};
    EXPECT_THAT(ddrEvents("Freq:1 Mhz Time(msec):-9223372036854775808", lastMs),
                ElementsAre(residency(1, 1)));
}

TEST_F(MemoryTest, ddrNodeOfOtherPlatforms) {
    mFactory.set("power_ddr_residency", "Freq: 1 Mhz Time(msec):1");
    EXPECT_THAT(pull(kDdrTag), IsEmpty());
    mFactory.set("power_ddr_residency_mtk", "Freq: 2 Mhz Time(msec):2");
    EXPECT_THAT(pull(kDdrTag), ElementsAre(residency(2, 2)));
}

TEST_F(MemoryTest, nodesThatAreMissingOrShort) {
    constexpr char kLpm[] = "ddr_lpm_stats";
    constexpr char kTime[] = "ufs_freq_time";
    constexpr char kStall[] = "allocstall_ux";
    constexpr char kReads[] = "ufs_total_read_size";
    constexpr char kWrites[] = "ufs_total_write_size";
    const std::tuple<int32_t, std::map<std::string, std::string>, std::vector<Fields>> cases[] = {
            {kLpmTag, {}, {Fields{-1, -1, -1, -1, -1}}},
            {kLpmTag, {{kLpm, "sleep4: 5\nself_refresh:1\nsleep2 : 3"}}, {Fields{1, -1, 3, -1, 5}}},
            {kUfsTimeTag, {}, {}},
            {kUfsTimeTag, {{kTime, "sleep_time:20\n"}}, {Fields{-1, 20}}},
            {kUfsTimeTag, {{kTime, "active_time: 7\nsleep_time: 8"}}, {Fields{7, 8}}},
            {kAllocstallTag, {}, {Fields{int64_t{0}}}},
            {kAllocstallTag, {{kStall, "17\n"}}, {Fields{int64_t{17}}}},
            {kAllocstallTag, {{kStall, "none"}}, {Fields{int64_t{0}}}},
            {kUfsTotalTag, {{kReads, "1"}}, {}},
            {kUfsTotalTag, {{kReads, ""}, {kWrites, "2"}}, {}},
            {kUfsTotalTag, {{kReads, "1024\n"}, {kWrites, "x"}}, {Fields{1024, 0}}}};
    for (const auto& [tag, nodes, events] : cases) {
        SCOPED_TRACE(testing::Message() << tag << " with " << nodes.size() << " nodes");
        for (const auto& [key, content] : nodes) mFactory.set(key, content);
        EXPECT_EQ(pull(tag), events);
        for (const auto& node : nodes) mFactory.fail(node.first);
    }
    EXPECT_EQ(errors("Ufs get Node file is fail"), 1u);
}

}  // namespace
}  // namespace zstats
