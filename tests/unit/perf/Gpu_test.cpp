#include <limits>

#include "readers/GpuReader.h"
#include "tests/unit/perf/PerfKit.h"

namespace zstats {
namespace {

using Times = std::vector<long long>;

constexpr int32_t kGpuTag = 150029;

Fields residency(int32_t freqKhz, int64_t time) {
    return {freqKhz, time};
}

/** A back-end whose readings are given one by one; the last one stays. */
struct ScriptedGpu : GpuStats {
    explicit ScriptedGpu(std::vector<Times> script) : readings(std::move(script)) {}
    void readFreqsKhz(std::vector<int>& out) override {
        ++freqReads;
        out = freqs;
    }
    void readFreqsTime(Times& out) override {
        out = readings.front();
        if (readings.size() > 1) readings.erase(readings.begin());
    }

    std::vector<Times> readings;
    std::vector<int> freqs;
    int freqReads = 0;
};

using GpuTest = PerfTest;

TEST_F(GpuTest, qcomReportsTheTimeSinceTheLastPull) {
    useQcom();
    mFactory.set("gpu_freq_table_qual", "100 200\n");
    mFactory.setSeries("gpu_freq_time_qual", {"10\t20\n", "15 27\n", "0x20 0100"});
    EXPECT_THAT(pull(kGpuTag), ElementsAre(residency(100'000, 5), residency(200'000, 7)));
    // 0x20 and 0100 are 32 and 64: the counters' prefixes count.
    EXPECT_THAT(pull(kGpuTag), ElementsAre(residency(100'000, 17), residency(200'000, 37)));
    EXPECT_THAT(pull(kGpuTag), ElementsAre(residency(100'000, 0), residency(200'000, 0)));
    EXPECT_EQ(errors("freq size"), 0u);
}

TEST_F(GpuTest, mtkLinesNeedALeadIn) {
    const std::tuple<std::string, std::vector<int>, Times> cases[] = {
            {"opp 585000000\nopp 130000999", {585'000, 130'000}, {}},
            {"585000000\n", {}, {}},               // the lead-in takes at least one character
            {"0585000000 12\n", {585'000}, {12}},  // and a zero is part of it
            {"\n\n[00]: 40000 7\n", {40}, {7}},
            {"f 1000 -5\nf 2000 x\nf 3000 9", {1, 2, 3}, {-5, 9}},
            {"no number", {}, {}},
            {"", {}, {}}};
    for (const auto& [content, freqsKhz, expected] : cases) {
        SCOPED_TRACE(content);
        std::vector<int> freqs;
        parseMtkGpuFreqsKhz(content, freqs);
        EXPECT_EQ(freqs, freqsKhz);
        Times times;
        parseMtkGpuFreqsTime(content, times);
        EXPECT_EQ(times, expected);
    }
    EXPECT_TRUE(debugs("readFreqsKhz 585000000 scan failed"));
    EXPECT_TRUE(debugs("readFreqsTime f 2000 x scan failed"));
}

TEST_F(GpuTest, differencesBetweenReadings) {
    constexpr long long kMax = std::numeric_limits<long long>::max();
    constexpr long long kMin = std::numeric_limits<long long>::min();
    // A reading of another length is answered with zeros and leaves the baseline as it is.
    GpuReader reader(std::make_shared<ScriptedGpu>(
            std::vector<Times>{{1, 2}, {1, 2, 5}, {}, {11, 12}, {4, kMax}, {4, kMin}}));
    const Times expected[] = {{0, 0}, {0, 0}, {10, 10}, {-7, kMax - 12}, {0, 1}};
    for (const Times& deltas : expected) EXPECT_EQ(reader.getGpuFreqsTimeDelta(), deltas);
    EXPECT_EQ(errors("getGpuFreqsTimeDelta, last freq size 2, curr freq size 3"), 1u);
    EXPECT_EQ(errors("getGpuFreqsTimeDelta, last freq size 2, curr freq size 0"), 1u);
    EXPECT_EQ(debugs("getGpuFreqsTimeDelta last time"), 5u);

    std::vector<int> freqs = {7};
    parseQcomGpuFreqsKhz("2147483647 1", freqs);
    EXPECT_THAT(freqs, ElementsAre(7, -1000, 1000));
}

TEST_F(GpuTest, frequenciesAreReadUntilThereAreSome) {
    const auto gpu = std::make_shared<ScriptedGpu>(std::vector<Times>{{}});
    GpuReader reader(gpu);
    EXPECT_THAT(reader.getGpuFreqsKhz(), IsEmpty());
    gpu->freqs = {300, 400};
    EXPECT_THAT(reader.getGpuFreqsKhz(), ElementsAre(300, 400));
    gpu->freqs = {500};
    EXPECT_THAT(reader.getGpuFreqsKhz(), ElementsAre(300, 400));
    EXPECT_EQ(gpu->freqReads, 3);
}

TEST_F(GpuTest, tablesOfDifferentLengthsAreNotReported) {
    useQcom();
    mFactory.set("gpu_freq_table_qual", "100 200 300");
    mFactory.set("gpu_freq_time_qual", "1 2");
    EXPECT_THAT(pull(kGpuTag), IsEmpty());
    EXPECT_TRUE(errors("handleGpuFreqTimeInfo, freq size 3, freq time size 2"));
}

TEST_F(GpuTest, theChipDecidesOnceWhoReads) {
    const TempTree tree;
    tree.write("atag,chipid", "");
    const std::string chip = tree.path("atag,chipid");
    EXPECT_TRUE(std::dynamic_pointer_cast<MtkGpuStats>(getGpuStats(chip.c_str())));
    EXPECT_EQ(getGpuStats(tree.path("absent").c_str()), nullptr);
    EXPECT_THAT(pull(kGpuTag), IsEmpty());
    EXPECT_EQ(errors("getGpuStats With a unknown vendor platform!"), 2u);
    useQcom();
    EXPECT_THAT(pull(kGpuTag), IsEmpty());
    EXPECT_TRUE(std::dynamic_pointer_cast<QcomGpuStats>(getGpuStats(chip.c_str())));
    EXPECT_THAT(mFactory.reads(), IsEmpty());
}

TEST_F(GpuTest, mtkNodesHaveTheirOwnKeys) {
    mFactory.set("gpu_freq_table_mtk", "a 26000\n");
    mFactory.set("gpu_freq_time_mtk", "a 26000 99\n");
    GpuReader reader(std::make_shared<MtkGpuStats>());
    EXPECT_THAT(reader.getGpuFreqsKhz(), ElementsAre(26));
    Times times;
    reader.readFreqsTime(times);
    EXPECT_THAT(times, ElementsAre(99));
}

}  // namespace
}  // namespace zstats
