#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "daemon/base/Log.h"
#include "kernel/BpfEventChannel.h"
#include "tests/support/LogCapture.h"
#include "tests/support/libraries/FakeLibraries.h"
#include "vendor/include/feature_switch.h"
#include "vendor/include/stats_write.h"
#include "vendor/include/uah_client.h"

// The names under which the closed libraries export what the daemon calls.
extern "C" {
extern char featureSwitch __asm__("isOsFeatureEnabled");
extern char statsWrite __asm__("_ZN14NordaFramework11stats_writeEiiiiiPKc");
extern char fetchDataset __asm__("Uah_fetch_dataset");
extern char isEnable __asm__("zbpf_is_enable");
extern char btfSupport __asm__("zbpf_btf_support");
extern char regionSupport __asm__("zbpf_region_support");
extern char connectStart __asm__("zbpf_connect_start");
extern char connectExit __asm__("zbpf_connect_exit");
}

namespace zstats {
namespace {

class BpfEventChannelTest : public testing::Test {
  protected:
    BpfEventChannelTest() { gLibraries = {}; }
    ~BpfEventChannelTest() override { gLogLevel = 1; }

    LogCapture mLog;
};

TEST_F(BpfEventChannelTest, CallsTheClosedLibrariesByTheirNames) {
    const auto address = [](auto* function) { return reinterpret_cast<char*>(function); };
    EXPECT_EQ(address(&isOsFeatureEnabled), &featureSwitch);
    EXPECT_EQ(address(&NordaFramework::stats_write), &statsWrite);
    EXPECT_EQ(address(&Uah_fetch_dataset), &fetchDataset);
    EXPECT_EQ(address(&zbpf_is_enable), &isEnable);
    EXPECT_EQ(address(&zbpf_btf_support), &btfSupport);
    EXPECT_EQ(address(&zbpf_region_support), &regionSupport);
    EXPECT_EQ(address(&zbpf_connect_start), &connectStart);
    EXPECT_EQ(address(&zbpf_connect_exit), &connectExit);
}

TEST_F(BpfEventChannelTest, AsksEachQuestionOnlyAfterTheOneBefore) {
    const Lines questions = {"zbpf_is_enable", "zbpf_btf_support", "zbpf_region_support"};
    const struct {
        int enabled, types, region;
        bool isSupported;
        std::ptrdiff_t asked;
    } rows[] = {{1, 1, 1, true, 3},  {3, -1, 1, true, 3},  {2, 1, 1, false, 1},
                {0, 1, 1, false, 1}, {1, 0, 1, false, 2},  {1, 1, 0, false, 3},
                {1, 1, 2, false, 3}, {-2, 1, 1, false, 1}, {1, 1, -1, false, 3},
                {-1, 2, 1, true, 3}};
    for (const auto& row : rows) {
        gLibraries.bpfEnabled = row.enabled;
        gLibraries.bpfTypes = row.types;
        gLibraries.bpfRegion = row.region;
        EXPECT_EQ(isBpfChannelSupported(), row.isSupported);
        EXPECT_EQ(gLibraries.takeCalls(), Lines(questions.begin(), questions.begin() + row.asked));
    }
}

TEST_F(BpfEventChannelTest, RequestsInTheLibrarysLayoutWithAPathCutToFit) {
    for (const size_t length : {0, 12, 1022, 1023, 1024, 4000}) {
        std::string path;
        for (size_t i = 0; i < length; ++i) path += static_cast<char>('a' + i % 26);
        const zbpf_connect_request request = buildConnectionRequest(path.c_str());
        const auto* bytes = reinterpret_cast<const char*>(&request);
        std::string expected = path.substr(0, 1023);
        expected.resize(1048, '\0');
        expected[1024] = 1;
        expected[1028] = 1;
        expected.replace(1032, 10, "pullerd_kw");
        EXPECT_EQ(std::string(bytes, 1048), expected);
        void (*callbacks[2])() = {};
        memcpy(callbacks, bytes + 1048, sizeof(callbacks));
        EXPECT_EQ(callbacks[0], reinterpret_cast<void (*)()>(&onBpfDataArrived));
        EXPECT_EQ(callbacks[1], &onBpfDisconnect);
    }
}

TEST_F(BpfEventChannelTest, WritesAnAtomForARecordAndTellsWhatItDrops) {
    const std::string text(900, 'i');
    const struct {
        int flag;
        short type;
        std::vector<int32_t> head;  // none: a null record
        std::string info;
        Lines calls;
        std::string line;  // after the first
    } rows[] = {
            {1,
             -4,
             {7, 1, 2, 3},
             "x",
             {"stats_write 100207 7 1 2 3 x"},
             "D2 onKestrelFatalDataArrived: data_type(-4) bpf_data(type:7 pe:1 lnr:2 bnr:3 "
             "info:x)"},
            {1,
             0,
             {INT32_MAX, INT32_MIN, -1, 0},
             "a, b:c %s",
             {"stats_write 100207 2147483647 -2147483648 -1 0 a, b:c %s"},
             "D2 onKestrelFatalDataArrived: data_type(0) bpf_data(type:2147483647 pe:-2147483648 "
             "lnr:-1 bnr:0 info:a, b:c %s)"},
            {1,
             32767,
             {0, 0, 0, 0},
             "",
             {"stats_write 100207 0 0 0 0 "},
             "D2 onKestrelFatalDataArrived: data_type(32767) bpf_data(type:0 pe:0 lnr:0 bnr:0 "
             "info:)"},
            {1,
             1,
             {1, 2, 3, 4},
             text,
             {"stats_write 100207 1 2 3 4 " + text},
             "D2 onKestrelFatalDataArrived: data_type(1) bpf_data(type:1 pe:2 lnr:3 bnr:4 info:" +
                     text + ")"},
            {1, 1, {}, "", {}, "W0 onKestrelFatalDataArrived, bpf_data is null\n"},
            {0, 1, {1, 2, 3, 4}, "", {}, "W0 unknown dispatch flag 0\n"},
            {2, 1, {1, 2, 3, 4}, "", {}, "W0 unknown dispatch flag 2\n"},
            {-1, 1, {}, "", {}, "W0 unknown dispatch flag -1\n"},
    };
    for (const auto& row : rows) {
        // One byte off, since nobody promises where a record lies.
        std::string record = "?";
        record.append(reinterpret_cast<const char*>(row.head.data()), 4 * row.head.size());
        record += row.info;
        const std::string first = "D2 onBpfDataArrived: bpf data arrived, dispatch_flag(" +
                                  std::to_string(row.flag) + ")";
        expectLines(mLog, {first, row.line}, [&] {
            onBpfDataArrived(row.flag, row.type, row.head.empty() ? nullptr : record.data() + 1);
            EXPECT_EQ(gLibraries.takeCalls(), row.calls);
        });
    }
}

TEST_F(BpfEventChannelTest, ADisconnectIsOnlyTold) {
    expectLines(mLog, {"D2 kworker :on_bpf_disconnect"}, onBpfDisconnect);
    EXPECT_EQ(gLibraries.calls, Lines{});
}

}  // namespace
}  // namespace zstats
