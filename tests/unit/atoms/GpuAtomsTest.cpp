#include "tests/support/AtomTest.h"
#include "tests/support/OtherRoot.h"

namespace zstats {
namespace {

constexpr int32_t kTag = 150029;
constexpr char kTable[] = "gpu_freq_table_qual";
constexpr char kTime[] = "gpu_freq_time_qual";

std::string mismatch(int last, int current) {
    return "E getGpuFreqsTimeDelta, last freq size " + std::to_string(last) + ", curr freq size " +
           std::to_string(current);
}
std::string mismatchInHandler(int freqs, int times) {
    return "E handleGpuFreqTimeInfo, freq size " + std::to_string(freqs) + ", freq time size " +
           std::to_string(times);
}

class GpuAtomTest : public AtomTest {
  protected:
    /** The answers of a callback object that reads the first texts at construction, then the others. */
    void expectSeries(const std::vector<std::string>& tables, const std::vector<std::string>& times,
                      const std::vector<Transcript>& expected) {
        SCOPED_TRACE(testing::PrintToString(tables) + " with " + testing::PrintToString(times));
        useQcom();
        gLogLevel = 0;  // all lines are ungated
        factory.setSeries(kTable, tables);
        factory.setSeries(kTime, times);
        ZStatsPullAtomCallback fresh;
        EXPECT_EQ(factory.reads().end()[-2].first, kTable) << "is read first";
        for (const Transcript& answer : expected) EXPECT_EQ(pull(kTag, fresh), answer);
    }
};

TEST_F(GpuAtomTest, reportsTheTimeSinceTheLastPull) {
    const auto empty = [](const std::string& key) {
        return "E getContentByHandleKey read nodeKey: " + key + ", len=0";
    };
    expectSeries({"100 0200\n"}, {"10\t20\n", "15 5000000020", "0x20 0100"},
                 {{"[100000, 5L]", "[200000, 5000000000L]"},
                  {"[100000, 17L]", "[200000, -4999999956L]"},  // 0x20 is 32, 0100 is 64
                  {"[100000, 0L]", "[200000, 0L]"}});
    expectSeries({"0"}, {"12,3\r4", "9223372036854775807", "-9223372036854775808"},
                 {{"[0, 9223372036854775795L]"}, {"[0, 1L]"}});
    expectSeries({"100 200 300"}, {"1 2"}, {{mismatchInHandler(3, 2)}});
    // Readings of another length leave the baseline.
    expectSeries({"1 2"}, {"1 2", "1 2 3", "5 5", "", "6 8"},
                 {{mismatch(2, 3), "[1000, 0L]", "[2000, 0L]"},
                  {"[1000, 4L]", "[2000, 3L]"},
                  {empty(kTime), mismatch(2, 0), "[1000, 0L]", "[2000, 0L]"},
                  {"[1000, 1L]", "[2000, 3L]"}});
    // Without a first reading, there is never a baseline.
    const Transcript never = {mismatch(0, 2), mismatchInHandler(2, 0)};
    expectSeries({"1 2"}, {"", "1 2", "3 4"}, {never, never});
    expectSeries({"1"}, {""}, {{empty(kTime), mismatchInHandler(1, 0)}});
    expectSeries({" "}, {" "}, {{}});
    expectSeries({""}, {""}, {{empty(kTable), empty(kTime)}});
    // The table is read until it is not empty.
    expectSeries({"", "", "3", "4"}, {"1"},
                 {{empty(kTable), mismatchInHandler(0, 1)}, {"[3000, 0L]"}, {"[3000, 0L]"}});
}

TEST_F(GpuAtomTest, thePlatformDecidesAtConstruction) {
    set({{"gpu_freq_table_mtk", "a 26000\n"}, {kTable, "1"}});
    factory.setSeries("gpu_freq_time_mtk", {"a 26000 99\n", "a 26000 100\n"});
    factory.setSeries(kTime, {"1", "3"});
    const TempTree tree;
    tree.write("proc/device-tree/chosen/atag,chipid", "");
    const auto check = [&](const Transcript& expected) {
        ZStatsPullAtomCallback fresh;
        __system_property_set("ro.hardware", "other");
        EXPECT_EQ(pull(kTag, fresh), expected);
        EXPECT_THAT(pull(kTag), IsEmpty());  // constructed on an unknown platform
    };
    if (!withTreeAsKernel(tree, [&] { check({"[26, 1L]"}); })) GTEST_SKIP();
    useQcom();
    withTreeAsKernel(tree, [&] { check({"[1000, 2L]"}); });
}

}  // namespace
}  // namespace zstats
