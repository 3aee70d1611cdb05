#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "daemon/Log.h"
#include "kernel/BpfEventChannel.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SubstituteProfile.h"

namespace zstats {
namespace {

using substitute::WrittenAtom;

/** Collects the pushed atoms, beside the log. */
class BpfEventChannel : public testing::Test {
  protected:
    BpfEventChannel() {
        substitute::observeStatsWrites([this](const WrittenAtom& atom) { mAtoms.push_back(atom); });
    }
    ~BpfEventChannel() override {
        substitute::observeStatsWrites(nullptr);
        gLogLevel = 1;
    }

    SubstituteProfile mProfile;
    std::vector<WrittenAtom> mAtoms;
    LogCapture mLog;
};

TEST_F(BpfEventChannel, everyQuestionIsAskedOnlyAfterTheOneBefore) {
    const std::vector<std::string> questions = {"is_enable", "btf_support", "region_support"};
    const struct {
        const char* features;
        bool isSupported;
        std::ptrdiff_t asked;
    } cases[] = {{"", true, 3},
                 {"bpf_enable=3\nbpf_btf=-1\n", true, 3},
                 {"bpf_enable=2\n", false, 1},
                 {"bpf=unsupported\n", false, 1},
                 {"bpf_btf=0\n", false, 2},
                 {"bpf_region=0\n", false, 3},
                 {"bpf_region=2\n", false, 3}};
    for (const auto& row : cases) {
        mProfile.write("features", row.features);
        substitute::clearBpfCalls();
        EXPECT_EQ(isBpfChannelSupported(), row.isSupported) << row.features;
        EXPECT_EQ(substitute::bpfCalls(),
                  std::vector<std::string>(questions.begin(), questions.begin() + row.asked));
    }
}

TEST_F(BpfEventChannel, theRequestHasTheLibrarysLayoutAndAPathCutToFit) {
    for (const size_t length : {0, 12, 1022, 1023, 1024, 4000}) {
        SCOPED_TRACE(length);
        std::string path;
        for (size_t i = 0; i < length; ++i) path += static_cast<char>('a' + i % 26);
        const zbpf_connect_request request = buildConnectionRequest(path.c_str());
        char bytes[1064];
        memcpy(bytes, &request, sizeof(bytes));
        std::string expected = path.substr(0, 1023);
        expected.resize(1048, '\0');
        expected[1024] = 1;
        expected[1028] = 1;
        expected.replace(1032, 10, "pullerd_kw");
        EXPECT_EQ(std::string(bytes, 1048), expected);
        void (*onData)(int, short, char*) = nullptr;
        void (*onDisconnect)() = nullptr;
        memcpy(&onData, bytes + 1048, sizeof(onData));
        memcpy(&onDisconnect, bytes + 1056, sizeof(onDisconnect));
        EXPECT_EQ(onData, &onBpfDataArrived);
        EXPECT_EQ(onDisconnect, &onBpfDisconnect);
    }
}

TEST_F(BpfEventChannel, aFatalDataRecordBecomesOneAtom) {
    const WrittenAtom cases[] = {{100207, 7, 1, 2, 3, "x"},
                                 {100207, 0, 0, 0, 0, ""},
                                 {100207, INT32_MAX, INT32_MIN, -1, 1, "a, b:c %s"},
                                 {100207, 1, 2, 3, 4, std::string(900, 'i')}};
    const auto asTuple = [](const WrittenAtom& atom) {
        return std::tie(atom.atomId, atom.type, atom.pe, atom.lnr, atom.bnr, atom.info);
    };
    for (const WrittenAtom& row : cases) {
        mAtoms.clear();
        // One byte off, since nobody promises where a record lies.
        std::string record =
                "?" + substitute::fatalDataRecord(row.type, row.pe, row.lnr, row.bnr, row.info);
        onBpfDataArrived(1, 5, record.data() + 1);
        ASSERT_EQ(mAtoms.size(), 1u);
        EXPECT_EQ(asTuple(mAtoms[0]), asTuple(row));
    }
    EXPECT_TRUE(mLog.linesOf("zstats_pullerd").empty());
}

TEST_F(BpfEventChannel, levelTwoAloneShowsRecordAndDisconnect) {
    std::string record = substitute::fatalDataRecord(7, 1, 2, 3, "x");
    for (const int32_t level : {1, 2}) {
        gLogLevel = level;
        onBpfDataArrived(1, -4, record.data());
        onBpfDisconnect();
    }
    const auto lines = mLog.linesOf("zstats_pullerd");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].text, "onBpfDataArrived: bpf data arrived, dispatch_flag(1)");
    EXPECT_EQ(lines[1].text,
              "onKestrelFatalDataArrived: data_type(-4) bpf_data(type:7 pe:1 lnr:2 bnr:3 info:x)");
    EXPECT_EQ(lines[2].text, "kworker :on_bpf_disconnect");
    for (const LogLine& line : lines) EXPECT_EQ(line.priority, ANDROID_LOG_DEBUG);
}

TEST_F(BpfEventChannel, whatIsNoFatalDataIsToldAtEveryLevelAndDropped) {
    gLogLevel = 0;
    std::string record = substitute::fatalDataRecord(7, 1, 2, 3, "x");
    const struct {
        int flag;
        char* record;
        std::string warning;
    } cases[] = {{0, record.data(), "unknown dispatch flag 0\n"},
                 {2, record.data(), "unknown dispatch flag 2\n"},
                 {-1, nullptr, "unknown dispatch flag -1\n"},
                 {1, nullptr, "onKestrelFatalDataArrived, bpf_data is null\n"}};
    for (const auto& row : cases) {
        mLog.clear();
        onBpfDataArrived(row.flag, 0, row.record);
        EXPECT_EQ(mLog.count(ANDROID_LOG_WARN, row.warning), 1) << row.warning;
        EXPECT_EQ(mLog.linesOf("zstats_pullerd").size(), 1u) << row.warning;
    }
    EXPECT_TRUE(mAtoms.empty());
}

}  // namespace
}  // namespace zstats
