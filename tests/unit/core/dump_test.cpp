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
    std::string dump(const std::vector<std::string>& args, android::status_t expected = 0) {
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
    const struct {
        uid_t uid;
        bool allowed;
    } cases[] = {{0, true},     {1000, true},  {1, false},     {999, false},       {1001, false},
                 {1066, false}, {2000, false}, {10000, false}, {4294967295, false}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.uid);
        gLogLevel = 1;
        mRemote->setCallerUid(row.uid);
        const std::string text =
                dump({"--loglevel", "2"}, row.allowed ? android::OK : android::PERMISSION_DENIED);
        EXPECT_EQ(text, row.allowed ? kHeader + "\tZstats_pullerd set gLogLevel: 2\n" : "");
        EXPECT_EQ(gLogLevel.load(), row.allowed ? 2 : 1);
    }
}

TEST_F(Dump, helpsUnlessThereAreTwoArguments) {
    const std::vector<std::vector<std::string>> cases = {
            {}, {"--loglevel"}, {"--rgbLog"}, {"--loglevel", "2", "3"}, {"-h"}};
    for (const auto& args : cases) {
        SCOPED_TRACE(args.size());
        EXPECT_EQ(dump(args), kHeader + kHelp);
        EXPECT_EQ(gLogLevel.load(), 1);
    }
}

TEST_F(Dump, anUnknownOptionGetsTheHeaderAlone) {
    const std::vector<std::vector<std::string>> cases = {{"--RGBLOG", "1"},    {"--logLevel", "2"},
                                                         {"--loglevel ", "2"}, {"--loglevel2", ""},
                                                         {"2", "--loglevel"},  {"", ""}};
    for (const auto& args : cases) {
        EXPECT_EQ(dump(args), kHeader) << args[0];
        EXPECT_EQ(gLogLevel.load(), 1) << args[0];
    }
    EXPECT_EQ(dump({"--rgbLog", "0"}), kHeader + "\tZstats_pullerd set RGB Histogram Log: 0\n");
}

TEST_F(Dump, switchesTheLogLevel) {
    const struct {
        const char* value;
        int32_t level;
    } cases[] = {{"0", 0},
                 {"1", 1},
                 {"2", 2},
                 {"7", 7},
                 {"-3", 0},
                 {"abc", 0},
                 {"", 0},
                 {" 2x", 2},
                 {"+1", 1},
                 {"0x2", 0},
                 {"2147483647", 2147483647},
                 {"-2147483648", 0}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(dump({"--loglevel", row.value}),
                  kHeader + "\tZstats_pullerd set gLogLevel: " + std::to_string(row.level) + "\n");
        EXPECT_EQ(gLogLevel.load(), row.level);
    }
}

TEST_F(Dump, switchesTheRgbLogAndReadsItBack) {
    const struct {
        const char* value;
        const char* flag;
    } cases[] = {{"1", "1"}, {"0", "0"}, {"2", "1"}, {"abc", "0"}, {"-1", "1"}, {"", "0"}};
    for (const auto& row : cases) {
        EXPECT_EQ(dump({"--rgbLog", row.value}),
                  kHeader + "\tZstats_pullerd set RGB Histogram Log: " + row.flag + "\n")
                << row.value;
    }
    EXPECT_EQ(gLogLevel.load(), 1);
}

TEST_F(Dump, worksWithoutACallbackObject) {
    inprocess::withdraw("stats");
    publishService();
    EXPECT_EQ(dump({"--rgbLog", "1"}), kHeader + "\tZstats_pullerd set RGB Histogram Log: 0\n");
    EXPECT_EQ(dump({"--loglevel", "2"}), kHeader + "\tZstats_pullerd set gLogLevel: 2\n");
}

TEST_F(Dump, survivesADescriptorThatTakesNoText) {
    unique_fd full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    android::Vector<String16> none;
    EXPECT_EQ(mRemote->proxy()->dump(full.get(), none), android::OK);
    unique_fd readOnly(open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(mRemote->proxy()->dump(readOnly.get(), none), android::OK);
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
    for (const auto& row : cases) {
        SCOPED_TRACE(row.code);
        LogCapture log;
        android::Parcel request;
        android::Parcel reply;
        EXPECT_EQ(mService->transact(row.code, request, &reply, row.flags), row.status);
        EXPECT_TRUE(log.contains(ANDROID_LOG_INFO,
                                 "BnZstatsPullerService onTransact code " +
                                         std::to_string(static_cast<int32_t>(row.code)) +
                                         ", flags " + std::to_string(row.flags) + "."));
        if (row.status == android::OK) {
            EXPECT_EQ(reply.readString16(), String16("com.norda.zstats.IZstatsPullerService"));
        }
    }
}

TEST_F(Dump, theServiceIsItsOwnLocalInterface) {
    const String16 descriptor("com.norda.zstats.IZstatsPullerService");
    EXPECT_EQ(IZstatsPullerService::descriptor, descriptor);
    EXPECT_EQ(mService->getInterfaceDescriptor(), descriptor);
    EXPECT_EQ(mService->queryLocalInterface(descriptor).get(),
              static_cast<android::IInterface*>(mService.get()));
    EXPECT_EQ(mService->queryLocalInterface(String16("another")), nullptr);
}

}  // namespace
}  // namespace zstats
