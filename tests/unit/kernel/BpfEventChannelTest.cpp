#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include "daemon/base/Log.h"
#include "kernel/BpfEventChannel.h"
#include "tests/support/LogCapture.h"
#include "tests/support/libraries/FakeLibraries.h"
#include "vendor/include/feature_switch.h"
#include "vendor/include/stats_write.h"
#include "vendor/include/uah_client.h"

// The exported names of the closed libraries' functions.
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
    const std::tuple<int, int, int, bool, std::ptrdiff_t> rows[] = {
            {1, 1, 1, true, 3},  {3, -1, 1, true, 3},  {-1, 2, 1, true, 3}, {2, 1, 1, false, 1},
            {0, 1, 1, false, 1}, {-2, 1, 1, false, 1}, {1, 0, 1, false, 2}, {1, 1, 0, false, 3},
            {1, 1, 2, false, 3}, {1, 1, -1, false, 3}};
    for (const auto& [enabled, types, region, isSupported, asked] : rows) {
        gLibraries.bpfEnabled = enabled;
        gLibraries.bpfTypes = types;
        gLibraries.bpfRegion = region;
        EXPECT_EQ(isBpfChannelSupported(), isSupported);
        EXPECT_EQ(gLibraries.takeCalls(), Lines(questions.begin(), questions.begin() + asked));
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
    const auto expect = [&](int flag, short type, char* record, const Lines& calls,
                            const std::string& line) {
        const std::string first = "D2 onBpfDataArrived: bpf data arrived, dispatch_flag(";
        expectLines(mLog, {first + std::to_string(flag) + ")", line}, [&] {
            onBpfDataArrived(flag, type, record);
            EXPECT_EQ(gLibraries.takeCalls(), calls);
        });
    };
    const struct {
        short type;
        std::array<int32_t, 4> head;
        std::string info;
        std::string numbers;  // as in the log line
    } rows[] = {{-4, {7, 1, 2, 3}, "x", "type:7 pe:1 lnr:2 bnr:3"},
                {0,
                 {INT32_MAX, INT32_MIN, -1, 0},
                 "a, b:c %s",
                 "type:2147483647 pe:-2147483648 lnr:-1 bnr:0"},
                {32767, {0, 0, 0, 0}, "", "type:0 pe:0 lnr:0 bnr:0"},
                {1, {1, 2, 3, 4}, std::string(900, 'i'), "type:1 pe:2 lnr:3 bnr:4"}};
    for (const auto& row : rows) {
        // Unaligned, because a record may have any address.
        std::string record =
                "?" + std::string(reinterpret_cast<const char*>(row.head.data()), 16) + row.info;
        std::string call = "stats_write 100207 ";
        for (const int32_t number : row.head) call += std::to_string(number) + " ";
        expect(1, row.type, record.data() + 1, {call + row.info},
               "D2 onKestrelFatalDataArrived: data_type(" + std::to_string(row.type) +
                       ") bpf_data(" + row.numbers + " info:" + row.info + ")");
    }
    expect(1, 1, nullptr, {}, "W0 onKestrelFatalDataArrived, bpf_data is null\n");
    for (const int flag : {0, 2, -1}) {
        expect(flag, 1, nullptr, {}, "W0 unknown dispatch flag " + std::to_string(flag) + "\n");
    }
}

TEST_F(BpfEventChannelTest, ADisconnectIsOnlyTold) {
    expectLines(mLog, {"D2 kworker :on_bpf_disconnect"}, onBpfDisconnect);
    EXPECT_EQ(gLibraries.calls, Lines{});
}

}  // namespace
}  // namespace zstats
