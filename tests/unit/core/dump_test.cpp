#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "daemon/ZstatsPullerService.h"
#include "tests/unit/core/StatsdTest.h"

namespace zstats {
namespace {

using android::sp;
using android::String16;
using android::base::unique_fd;

const std::string kHeader = "ZstatsPullerService::dump\n";
const std::string kHelp =
        "\tdumpsys zstats_pullerd --rgbLog INPUT_1_OR_0: enable or disable RGB Histogram log\n"
        "\tdumpsys zstats_pullerd --loglevel INPUT_0(WARN)_OR_1(INFO)_OR_2(DEBUG): switch log "
        "level\n";
const std::string kLevelIs = "\tZstats_pullerd set gLogLevel: ";
const std::string kRgbLogIs = "\tZstats_pullerd set RGB Histogram Log: ";

/** The service as dumpsys reaches it, with a callback object behind it. */
class Dump : public StatsdTest {
  protected:
    Dump() { publishService(); }
    void publishService() {
        mService = new ZstatsPullerService();
        mRemote = inprocess::publish("zstats_pullerd", sp<android::IBinder>(mService));
        mRemote->setCallerUid(0);
    }

    /** Dumps with these arguments; the text written to the descriptor. */
    std::string dump(const Lines& args, android::status_t expected = android::OK) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        const unique_fd reader(ends[0]);
        unique_fd writer(ends[1]);
        android::Vector<String16> wide;
        for (const std::string& arg : args) wide.add(String16(arg.c_str()));
        EXPECT_EQ(mRemote->proxy()->dump(writer.get(), wide), expected);
        writer.reset();
        char text[1024];
        const ssize_t count = read(reader.get(), text, sizeof(text));
        return std::string(text, count > 0 ? static_cast<size_t>(count) : 0);
    }

    sp<ZstatsPullerService> mService;
    std::shared_ptr<inprocess::RemoteService> mRemote;
};

TEST_F(Dump, isForRootAndSystemAlone) {
    for (const uid_t uid : {0u, 1000u, 1u, 999u, 1001u, 1066u, 2000u, 10000u, 4294967295u}) {
        SCOPED_TRACE(uid);
        const bool allowed = uid == 0 || uid == 1000;
        gLogLevel = 1;
        mRemote->setCallerUid(uid);
        EXPECT_EQ(dump({"--loglevel", "2"}, allowed ? android::OK : android::PERMISSION_DENIED),
                  allowed ? kHeader + kLevelIs + "2\n" : "");
        EXPECT_EQ(gLogLevel.load(), allowed ? 2 : 1);
    }
}

TEST_F(Dump, answersEachRequestWithItsTextAlone) {
    const struct {
        Lines args;
        std::string reply;
    } cases[] = {{{}, kHelp},
                 {{"-h"}, kHelp},
                 {{"--loglevel"}, kHelp},
                 {{"--rgbLog"}, kHelp},
                 {{"--loglevel", "2", "3"}, kHelp},
                 {{"--RGBLOG", "1"}, ""},
                 {{"--logLevel", "2"}, ""},
                 {{"--loglevel ", "2"}, ""},
                 {{"--loglevel2", ""}, ""},
                 {{"2", "--loglevel"}, ""},
                 {{"", ""}, ""},
                 {{"--rgbLog", "1"}, kRgbLogIs + "1\n"},
                 {{"--rgbLog", "0"}, kRgbLogIs + "0\n"},
                 {{"--rgbLog", "2"}, kRgbLogIs + "1\n"},
                 {{"--rgbLog", "abc"}, kRgbLogIs + "0\n"},
                 {{"--rgbLog", "-1"}, kRgbLogIs + "1\n"},
                 {{"--rgbLog", ""}, kRgbLogIs + "0\n"}};
    for (const auto& row : cases) {
        EXPECT_EQ(dump(row.args), kHeader + row.reply) << testing::PrintToString(row.args);
        EXPECT_EQ(gLogLevel.load(), 1) << testing::PrintToString(row.args);
    }
}

TEST_F(Dump, switchesTheLogLevel) {
    const struct {
        const char* value;
        int32_t level;
    } cases[] = {{"0", 0},  {"1", 1},   {"2", 2},  {"7", 7},
                 {"-3", 0}, {"abc", 0}, {"", 0},   {" 2x", 2},
                 {"+1", 1}, {"0x2", 0}, {"-1", 0}, {"2147483647", 2147483647}};
    for (const auto& row : cases) {
        EXPECT_EQ(dump({"--loglevel", row.value}),
                  kHeader + kLevelIs + std::to_string(row.level) + "\n");
        EXPECT_EQ(gLogLevel.load(), row.level) << row.value;
    }
}

TEST_F(Dump, worksWithoutACallbackObject) {
    inprocess::withdraw("stats");
    publishService();
    EXPECT_EQ(dump({"--rgbLog", "1"}), kHeader + kRgbLogIs + "0\n");
    EXPECT_EQ(dump({"--loglevel", "2"}), kHeader + kLevelIs + "2\n");
}

TEST_F(Dump, survivesADescriptorThatTakesNoText) {
    for (const auto& [path, mode] : {std::pair("/dev/full", O_WRONLY), {"/dev/null", O_RDONLY}}) {
        const unique_fd fd(open(path, mode | O_CLOEXEC));
        EXPECT_EQ(mRemote->proxy()->dump(fd.get(), {}), android::OK) << path;
    }
}

TEST_F(Dump, everyTransactionIsLoggedAndServedByTheBase) {
    gLogLevel = 0;
    const struct {
        uint32_t code;
        uint32_t flags;
        android::status_t status;
    } cases[] = {{1, 0, android::UNKNOWN_TRANSACTION},
                 {2, 0x10, android::UNKNOWN_TRANSACTION},
                 {0x00ffffff, 0, android::UNKNOWN_TRANSACTION},
                 {android::IBinder::INTERFACE_TRANSACTION, 0, android::OK}};
    android::Parcel reply;
    for (const auto& row : cases) {
        mLog.clear();
        EXPECT_EQ(mService->transact(row.code, {}, &reply, row.flags), row.status) << row.code;
        EXPECT_EQ(daemonLines(mLog), Lines{"I BnZstatsPullerService onTransact code " +
                                           std::to_string(static_cast<int32_t>(row.code)) +
                                           ", flags " + std::to_string(row.flags) + "."});
    }
    EXPECT_EQ(reply.readString16(), String16("com.norda.zstats.IZstatsPullerService"));
}

TEST_F(Dump, theServiceIsItsOwnLocalInterface) {
    const String16 descriptor("com.norda.zstats.IZstatsPullerService");
    EXPECT_EQ(mService->getInterfaceDescriptor(), descriptor);
    EXPECT_EQ(mService->queryLocalInterface(descriptor).get(),
              static_cast<android::IInterface*>(mService.get()));
    EXPECT_EQ(mService->queryLocalInterface(String16("another")), nullptr);
}

}  // namespace
}  // namespace zstats
