#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "readers/GpuReader.h"
#include "tests/support/AtomTest.h"

// Replaces the C library's function: each reading of the boot clock is a second later.
namespace {
time_t gBootSeconds = 0;
}
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    if (clock != CLOCK_BOOTTIME) return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    *now = {++gBootSeconds, 0};
    return 0;
}

namespace zstats {
namespace {

using Times = std::vector<long long>;

using GpuReaderTest = AtomTest;

TEST_F(GpuReaderTest, mtkLinesNeedALeadIn) {
    const auto noFreq = [](const std::string& line) {
        return "D2 readFreqsKhz " + line + " scan failed";
    };
    const auto noTime = [](const std::string& line) {
        return "D2 readFreqsTime " + line + " scan failed";
    };
    const std::pair<const char*, Transcript> rows[] = {
            {"opp 585000000 5000000000\nopp 130000999 010",
             {"{ 585000, 130000 } { 5000000000, 10 }"}},
            {"585000000 1\n", {noFreq("585000000 1"), noTime("585000000 1"), "{} {}"}},
            {"0585000000 12\n", {"{ 585000 } { 12 }"}},  // a leading zero is part of the word
            {"\n[00]: 40000 7\n", {noFreq(""), noTime(""), "{ 40 } { 7 }"}},
            {"f 9000 -5\nf 2999 x\nf 3000\nf 4000,5",
             {noTime("f 2999 x"), noTime("f 3000"), noTime("f 4000,5"), "{ 9, 2, 3, 4 } { -5 }"}},
            {"no number", {noFreq("no number"), noTime("no number"), "{} {}"}},
            {"", {"{} {}"}}};
    for (const auto& [content, expected] : rows) {
        expectAtLevels(expected, [&, content = content] {
            std::vector<int> freqs;
            Times times;
            parseMtkGpuFreqsKhz(content, freqs);
            parseMtkGpuFreqsTime(content, times);
            Transcript told = lines();
            told.push_back(testing::PrintToString(freqs) + " " + testing::PrintToString(times));
            return told;
        });
    }
    std::vector<int> freqs = {7};
    parseQcomGpuFreqsKhz("2147483647 01\t0x2\n3,4\r5\v6\f7", freqs);
    EXPECT_THAT(freqs, ElementsAre(7, -1000, 1000, 0, 3000));
}

TEST_F(GpuReaderTest, readTimesAdvanceAtEachReading) {
    useQcom();
    factory.setSeries("gpu_freq_time_qual", {"1", "1", "1 2"});  // of any length
    gBootSeconds = 0;
    GpuReader reader;  // also reads the clock before its first reading
    gLogLevel = 2;
    lines();
    for (int reading = 0; reading < 3; ++reading) reader.getGpuFreqsTimeDelta();
    const std::string mismatch = "E getGpuFreqsTimeDelta, last freq size 1, curr freq size 2";
    EXPECT_THAT(lines(),
                ElementsAre("D getGpuFreqsTimeDelta last time 2000, current time 3000", mismatch,
                            "D getGpuFreqsTimeDelta last time 3000, current time 4000", mismatch,
                            "D getGpuFreqsTimeDelta last time 4000, current time 5000"));
}

}  // namespace
}  // namespace zstats
