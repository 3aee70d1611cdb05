#include <stdexcept>

#include "atoms/MemoryStorageAtoms.h"
#include "tests/support/AtomTest.h"

namespace zstats {
namespace {

constexpr int32_t kDdrTag = 150027;
constexpr char kDdr[] = "power_ddr_residency";

using MemoryAtomsTest = AtomTest;

TEST_F(MemoryAtomsTest, ddrLinesAreReadByTheirMarks) {
    const std::pair<const char*, Transcript> rows[] = {
            {"Freq: 2133 Mhz Time(msec):123456 x", {"[2133, 123456L]"}},
            {"Freq:\t0547Mhz,Time(msec):\r\t07", {"[547, 7L]"}},
            {"Freq:1 Mhz Time(msec):2\nFreq:3 Mhz Time(msec):5000000000\n",
             {"[1, 2L]", "[3, 5000000000L]"}},
            {"Freq:1 Mhz Time(msec):2\nFreq:1 Mhz Time(msec):7", {"[1, 2L]", "[1, 5L]"}},
            {"header\n\nFreq:1 MHz Time(msec):2\nFreq:1 Mhz Time:2\n1 Mhz Time(msec):2", {}},
            {"Time(msec):5 Freq: 9 Mhz", {}},  // the marks have an order
            {"Mhz Freq: 9 Time(msec):5", {}},
            {"Mhz Time(msec):1 Freq: 9 Mhz Time(msec):5", {"[0, 5L]"}},  // each after the last
            {"Freq: Time(msec):4 Mhz Time(msec):5", {"[0, 5L]"}},
            {"12345678 Freq Mhz Time(msec):5", {"[678, 5L]"}},  // index 5, whatever precedes it
            {"Freq: x Mhz Time(msec):y", {"[0, 0L]"}},
            {"Freq:-2 Mhz Time(msec):-3", {"[-2, -3L]"}},
            {"Freq:0x10 Mhz Time(msec):0x10", {"[0, 0L]"}},
            {"Freq:1 Mhz Time(msec):\f\n7", {"[1, 0L]"}},  // a number ends with its line
            {"x", {}}};
    useQcom();
    for (const auto& [content, events] : rows) {
        ZStatsPullAtomCallback fresh;
        set({{kDdr, content}});
        EXPECT_EQ(pull(kDdrTag, fresh), events) << content;
    }
}

TEST_F(MemoryAtomsTest, aBlankNumberInADdrLineLeavesTheHandler) {
    useQcom();
    const std::string first = "Freq:8 Mhz Time(msec):10\n";
    // In the last but one row, the time is a single blank.
    for (const char* line :
         {"Freq:  Mhz Time(msec):1", "Freq:Mhz Time(msec):1", "FreqMhz Time(msec):1",
          "Freq:1 Mhz Time(msec):", "Freq:1 Mhz Time(msec): 5", "Freq:1 Mhz Time(msec):\t\r"}) {
        SCOPED_TRACE(line);
        ZStatsPullAtomCallback fresh;
        set({{kDdr, first + line}});
        AStatsEventList list;
        EXPECT_THAT([&] { pullInto(&list, fresh, kDdrTag); }, testing::Throws<std::out_of_range>());
        EXPECT_THAT(textsOf(list, kDdrTag), ElementsAre("[8, 10L]"));
        set({{kDdr, "Freq:8 Mhz Time(msec):13"}});
        EXPECT_THAT(pull(kDdrTag, fresh), ElementsAre("[8, 3L]"));
    }
}

TEST_F(MemoryAtomsTest, ddrTimesAreThoseSinceTheLastPull) {
    factory.setSeries(
            "power_ddr_residency_mtk",
            {"Freq: 2133 Mhz Time(msec):123456 \n", "",
             "Freq: 2133 Mhz Time(msec):123999 \nFreq: 547 Mhz Time(msec):40 \n",
             "Freq: 547 Mhz Time(msec):30 \n",
             "Freq: 2133 Mhz Time(msec):124000 \nFreq: 547 Mhz Time(msec):31 \n",
             "Freq: 2133 Mhz Time(msec):-9223372036854775808\n",
             "Freq: 2133 Mhz Time(msec):9223372036854775807\n",
             "Freq:0 Mhz Time(msec):5\nFreq:0 Mhz Time(msec):0\nFreq:0 Mhz Time(msec):7"});
    const Transcript pulls[] = {{"[2133, 123456L]"},
                                {emptyNode("power_ddr_residency_mtk")},
                                {"[2133, 543L]", "[547, 40L]"},
                                {"[547, -10L]"},
                                {"[2133, 1L]", "[547, 1L]"},
                                {"[2133, 9223372036854651808L]"},
                                {"[2133, -1L]"},
                                {"[0, 5L]", "[0, -5L]", "[0, 7L]"}};
    for (const Transcript& expected : pulls) EXPECT_EQ(pull(kDdrTag), expected);
    useQcom();
    EXPECT_THAT(pull(kDdrTag), ElementsAre(kRefused, emptyNode(kDdr)));
}

TEST_F(MemoryAtomsTest, carryTheirNodes) {
    constexpr char kLpm[] = "ddr_lpm_stats";
    constexpr char kTime[] = "ufs_freq_time";
    constexpr char kStall[] = "allocstall_ux";
    constexpr char kReads[] = "ufs_total_read_size";
    constexpr char kWrites[] = "ufs_total_write_size";
    const auto missing = [](const std::string& key) {
        return "E PullAtomCallback getValueByKey node Key: " + key + " not exist.";
    };
    expectRows(
            {{150013,
              {{kLpm, "sleep4: 5\nself_refresh:01\nsleep3:0x4\nsleep2 : -3\nsleep1:2"}},
              {"[1, 2, -3, 0, 5]"}},
             {150013,
              {{kLpm, ""}},
              {emptyNode(kLpm), missing("self_refresh"), missing("sleep1"), missing("sleep2"),
               missing("sleep3"), missing("sleep4"), "[-1, -1, -1, -1, -1]"}},
             {150028, {{kTime, "active_time: 07\nsleep_time: 8"}}, {"[7, 8]"}},
             {150028, {{kTime, "x"}}, {missing("active_time"), missing("sleep_time"), "[-1, -1]"}},
             {150028, {{kTime, ""}}, {emptyNode(kTime), "E Ufs get Node file is fail"}},
             {150113, {{kStall, "017\n"}}, {"[17L]"}},
             {150113, {{kStall, "-1"}}, {"[-1L]"}},
             {150113, {{kStall, "4294967297"}}, {"[1L]"}},  // read as an int, not as the field's type
             {150113, {{kStall, ""}}, {emptyNode(kStall), "[0L]"}},
             {150135, {{kReads, "01024\n"}, {kWrites, "x"}}, {"[1024, 0]"}},
             {150135, {{kReads, "x"}, {kWrites, "02"}}, {"[0, 2]"}},
             {150135, {{kReads, "1"}, {kWrites, ""}}, {emptyNode(kWrites)}},
             {150135, {{kReads, ""}, {kWrites, "2"}}, {emptyNode(kReads)}}});
    for (const auto& [tag, key] : {std::pair(150013, kLpm), std::pair(150028, kTime)}) {
        set({{key, "sleep1:\nactive_time:"}});
        EXPECT_THROW(pull(tag), std::out_of_range);
    }
}

}  // namespace
}  // namespace zstats
