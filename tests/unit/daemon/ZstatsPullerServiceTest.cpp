#include <android-base/unique_fd.h>
#include <android/binder_ibinder.h>
#include <binder/IServiceManager.h>
#include <cutils/properties.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "daemon/PullDispatch.h"
#include "daemon/ZstatsPullerService.h"
#include "daemon/base/Log.h"
#include "host/properties/PropertyStore.h"
#include "tests/support/FakeServices.h"
#include "tests/support/InProcessBinder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/libraries/FakeLibraries.h"

// Replaces the C library's function, with another id.
extern "C" uid_t geteuid() noexcept {
    return 4711;
}

namespace zstats {
namespace {

using android::sp;
using android::String16;
using android::base::unique_fd;

constexpr int32_t kTags[] = {
#include "tests/registered_atoms"
};

class ZstatsPullerServiceTest : public testing::Test {
  protected:
    ZstatsPullerServiceTest() {
        inprocess::reset();
        gLibraries = {};
        mStatsd = publishStats("android.os.IStatsd");
    }
    ~ZstatsPullerServiceTest() override {
        inprocess::reset();
        properties::clearProperties();
        gLogLevel = 1;
    }

    static std::shared_ptr<inprocess::RemoteService> publishStats(const char* descriptor) {
        return inprocess::publish("stats", sp<android::IBinder>(new Claiming(descriptor)));
    }

    std::shared_ptr<inprocess::RemoteService> mStatsd;
    LogCapture mLog;
};

TEST_F(ZstatsPullerServiceTest, RegistersAllAtomsWithTheDispatchAndOneObject) {
    Lines registrations;
    for (const int32_t tag : kTags) {
        registrations.push_back("setPullAtomCallback " + std::to_string(tag) + " 1000 2000 0");
    }
    const sp<ZstatsPullerService> service(new ZstatsPullerService);
    gLibraries.calls.resize(std::size(kTags));
    EXPECT_EQ(gLibraries.calls, registrations);
    EXPECT_EQ(gLibraries.metadataInUse, 0);
    const void* const cookie = gLibraries.registrations[0].cookie;
    EXPECT_NE(cookie, nullptr);
    for (const auto& registration : gLibraries.registrations) {
        EXPECT_EQ(registration.callback, &onPullAtom);
        EXPECT_EQ(registration.cookie, cookie);
    }
    // No look-up waits; the second is that of the callback object.
    EXPECT_EQ(inprocess::lookUps(), (Lines{"check stats", "check calda"}));
}

TEST_F(ZstatsPullerServiceTest, ConnectsAfterTheRegistrationsAndEndsTheLastConnection) {
    const Lines asks = {"zbpf_is_enable", "zbpf_btf_support", "zbpf_region_support"};
    const Lines starts = {"zbpf_connect_start /system_ext/bin/zcvt/norda_sched pullerd_kw"};
    const Lines second = {"zbpf_connect_start /system_ext/bin/zcvt/norda_sched_corectl pullerd_kw"};
    const Lines twice = {"D2 kworker mConnectFd = 40", "D2 kworker mConnectFd = 41"};
    const auto failed = [](const std::string& fd) {
        return Lines{"D2 kworker mConnectFd = " + fd, "W0 kworker connect fail fd = " + fd};
    };
    const Lines unsupported = {"W0 do not support zcvt"};
    const struct {
        int region, connection;
        const char* releaseType;
        Lines calls, lines;
        std::string lastConnection;
    } rows[] = {{1, 40, "false", asks + starts + asks + second, twice, "41"},
                {1, 40, "true", asks + starts, {"D2 kworker mConnectFd = 40"}, "40"},
                {1, 0, "true", asks + starts, {"D2 kworker mConnectFd = 0"}, "0"},
                {1, -5, "true", asks + starts, failed("-5"), "-5"},
                // The second connection is tried also after a failure of the first.
                {1, -1, "false", asks + starts + asks + second, failed("-1") + failed("-1"), "-1"},
                {2, 40, "false", asks + asks, unsupported + unsupported, "-1"}};
    const Lines registered = {
            "D2 property ro.hardware:", "E getGpuStats With a unknown vendor platform!",
            "I1 ThermalReader checkService failed",
            "I1 pullerd:uid =" + std::to_string(getuid()) + " registerPullAtomCallback success"};
    for (const auto& row : rows) {
        property_set("ro.build.release_type", row.releaseType);
        expectLines(mLog, registered + row.lines, [&] {
            gLibraries = {};
            gLibraries.bpfRegion = row.region;
            gLibraries.bpfConnection = row.connection;
            sp<ZstatsPullerService> service(new ZstatsPullerService);
            EXPECT_EQ(Lines(gLibraries.calls.begin() + std::size(kTags), gLibraries.calls.end()),
                      row.calls);
            gLibraries.calls.clear();
            service.clear();
            EXPECT_EQ(gLibraries.takeCalls(),
                      Lines{"zbpf_connect_exit " + row.lastConnection + " pullerd_kw"});
        });
        properties::clearProperties();
    }
}

TEST_F(ZstatsPullerServiceTest, KeepsItsConnectionWhenALaterOneHasNoSupport) {
    sp<ZstatsPullerService> service(new ZstatsPullerService);
    gLibraries.bpfEnabled = 0;
    char path[] = "/bpf/later";
    service->connectZbpfForKorkerInner(path);
    gLibraries.calls.clear();
    service.clear();
    EXPECT_EQ(gLibraries.calls, Lines{"zbpf_connect_exit 41 pullerd_kw"});
}

TEST_F(ZstatsPullerServiceTest, DoesNothingWithoutStatsd) {
    for (const char* descriptor : {"", "android.os.IStatsd2"}) {
        inprocess::withdraw("stats");
        if (descriptor[0] != '\0') publishStats(descriptor);
        expectLines(mLog, {"E pullerd:  Get statsd service fail", "I1 pullerd: mStatsd is null"},
                    [&] {
                        sp<ZstatsPullerService>(new ZstatsPullerService).clear();
                        EXPECT_EQ(gLibraries.takeCalls(), Lines{"zbpf_connect_exit -1 pullerd_kw"});
                    });
    }
}

TEST_F(ZstatsPullerServiceTest, LetsGoOfADeadStatsdAndDoesNothingElse) {
    gLogLevel = 2;
    FakeCalda calda;
    sp<ZstatsPullerService>(new ZstatsPullerService).clear();
    mLog.clear();
    calda.remote().die();  // the service gets no notice of this and of what follows
    EXPECT_EQ(mLog.take(), Lines{});
    const sp<ZstatsPullerService> service(new ZstatsPullerService);
    const ndk::SpAIBinder statsd = mStatsd->ndkProxy();
    const int32_t references = AIBinder_debugGetRefCount(statsd.get());
    const Lines lookUps = inprocess::lookUps();
    gLibraries.calls.clear();
    mLog.clear();
    mStatsd->die();
    EXPECT_EQ(AIBinder_debugGetRefCount(statsd.get()), 1) << "of " << references;
    EXPECT_EQ(mLog.take(), Lines{"E statsd service died, will try to reconnect."});
    EXPECT_EQ(gLibraries.calls, Lines{});
    EXPECT_EQ(inprocess::lookUps(), lookUps);

    // The notice comes during construction, which continues.
    gLogLevel = 0;
    mStatsd = publishStats("android.os.IStatsd");
    const std::string ofCallback = "getGpuStats With a unknown vendor platform!";
    mLog.whenLogged(ofCallback, [&] { mStatsd->die(); });
    sp<ZstatsPullerService>(new ZstatsPullerService).clear();
    EXPECT_EQ(mLog.take(),
              (Lines{"E " + ofCallback, "E statsd service died, will try to reconnect."}));
    EXPECT_EQ(gLibraries.calls.size(), std::size(kTags) + 2UL * 4 + 1);

    const sp<DyingAsLinked> dying(new DyingAsLinked("android.os.IStatsd"));
    android::defaultServiceManager()->addService(String16("stats"), dying);
    const int32_t held = dying->getStrongCount();
    const sp<ZstatsPullerService> late(new ZstatsPullerService);
    dying->notice.join();
    EXPECT_EQ(dying->getStrongCount(), held);
    EXPECT_EQ(dying->links, 1);
}

/** The service as dumpsys calls it. */
class DumpTest : public ZstatsPullerServiceTest {
  protected:
    DumpTest() { mRemote->setCallerUid(0); }

    /** Dumps with these arguments; returns the first write, with a mark if there is a second. */
    std::string dump(const Lines& args, android::status_t expected = android::OK) {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
        const unique_fd reader(ends[0]);
        unique_fd writer(ends[1]);
        android::Vector<String16> wide;
        for (const std::string& arg : args) wide.add(String16(arg.c_str()));
        EXPECT_EQ(mRemote->proxy()->dump(writer.get(), wide), expected);
        writer.reset();
        std::string text(1024, '\0');
        text.resize(static_cast<size_t>(read(reader.get(), text.data(), text.size())));
        char byte;
        return read(reader.get(), &byte, 1) == 0 ? text : text + "and more";
    }

    /** The flag as the pulls see it. */
    static bool rgbLog() {
        const void* cookie = gLibraries.registrations.back().cookie;
        return static_cast<const ZStatsPullAtomCallback*>(cookie)->rgbHistogramLog();
    }

    const sp<ZstatsPullerService> mService{new ZstatsPullerService};
    std::shared_ptr<inprocess::RemoteService> mRemote =
            inprocess::publish("zstats_pullerd", sp<android::IBinder>(mService));
};

TEST_F(DumpTest, IsForRootAndSystemAlone) {
    for (const uid_t uid : {0u, 1000u, 1u, 999u, 1001u, 1066u, 2000u, 101000u, 4294967295u}) {
        SCOPED_TRACE(uid);
        EXPECT_FALSE(rgbLog());  // initially
        const bool allowed = uid == 0 || uid == 1000;
        gLogLevel = 1;
        mRemote->setCallerUid(uid);
        EXPECT_EQ(dump({"--loglevel", "2"}, allowed ? 0 : -1),
                  allowed ? "ZstatsPullerService::dump\n\tZstats_pullerd set gLogLevel: 2\n" : "");
        EXPECT_EQ(gLogLevel.load(), allowed ? 2 : 1);
    }
}

TEST_F(DumpTest, AnswersEachRequestInOneWriteAndChangesNothingElse) {
    const std::string help =
            "\tdumpsys zstats_pullerd --rgbLog INPUT_1_OR_0: enable or disable RGB Histogram log\n"
            "\tdumpsys zstats_pullerd --loglevel INPUT_0(WARN)_OR_1(INFO)_OR_2(DEBUG): switch log "
            "level\n";
    const std::string levelIs = "\tZstats_pullerd set gLogLevel: ";
    const std::string rgbLogIs = "\tZstats_pullerd set RGB Histogram Log: ";
    struct Row {
        Lines args;
        std::string reply;
        int32_t level = 5;  // afterwards; 5 before
        bool rgbLog = true;
    };
    std::vector<Row> rows = {{{}, help},
                             {{"-h"}, help},
                             {{"--loglevel"}, help},
                             {{"--rgbLog"}, help},
                             {{"--loglevel", "2", "3"}, help},
                             {{"--RGBLOG", "0"}, ""},
                             {{"--logLevel", "2"}, ""},
                             {{"--loglevel ", "2"}, ""},
                             {{"--loglevel2", ""}, ""},
                             {{"2", "--loglevel"}, ""},
                             {{"", ""}, ""}};
    for (const char* on : {"1", "2", "-1"}) rows.push_back({{"--rgbLog", on}, rgbLogIs + "1\n"});
    for (const char* off : {"0", "abc", ""}) {
        rows.push_back({{"--rgbLog", off}, rgbLogIs + "0\n", 5, false});
    }
    const std::pair<const char*, int32_t> levels[] = {
            {"0", 0},           {"1", 1},   {"007", 7}, {"0x2", 0}, {"-1", 0},
            {"-2147483648", 0}, {"abc", 0}, {"", 0},    {" 2x", 2}, {"2147483647", 2147483647}};
    for (const auto& [text, level] : levels) {
        rows.push_back({{"--loglevel", text}, levelIs + std::to_string(level) + "\n", level});
    }
    mStatsd->die();  // must not change the dump
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.args));
        gLogLevel = 5;
        dump({"--rgbLog", "1"});
        EXPECT_EQ(dump(row.args), "ZstatsPullerService::dump\n" + row.reply);
        EXPECT_EQ(gLogLevel.load(), row.level);
        EXPECT_EQ(rgbLog(), row.rgbLog);
    }
}

TEST_F(DumpTest, NeedsNeitherACallbackObjectNorADescriptorThatTakesText) {
    inprocess::withdraw("stats");
    const sp<ZstatsPullerService> service(new ZstatsPullerService);
    mRemote = inprocess::publish("zstats_pullerd", sp<android::IBinder>(service));
    EXPECT_EQ(dump({"--rgbLog", "1"}),
              "ZstatsPullerService::dump\n\tZstats_pullerd set RGB Histogram Log: 0\n");
    const unique_fd full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    const unique_fd unwritable(open("/dev/null", O_RDONLY | O_CLOEXEC));
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    const unique_fd unread(ends[1]);
    signal(SIGPIPE, SIG_IGN);  // as in the daemon
    for (const int fd : {full.get(), unwritable.get(), unread.get(), -1}) {
        EXPECT_EQ(service->dump(fd, {}), android::OK);
    }
}

TEST_F(DumpTest, EveryTransactionIsLoggedAndServedByTheBase) {
    const std::tuple<uint32_t, uint32_t, android::status_t, const char*> rows[] = {
            {1, 0, android::UNKNOWN_TRANSACTION, "code 1, flags 0."},
            {2, 0x10, android::UNKNOWN_TRANSACTION, "code 2, flags 16."},
            {0x00ffffff, 0, android::UNKNOWN_TRANSACTION, "code 16777215, flags 0."},
            {0x5f4e5446, 0, android::OK, "code 1598968902, flags 0."}};
    android::Parcel reply;
    mLog.clear();
    for (const auto& [code, flags, status, line] : rows) {
        reply.freeData();
        gLogLevel = 0;
        EXPECT_EQ(mService->transact(code, {}, &reply, flags), status);
        EXPECT_EQ(mLog.take(), Lines{std::string("I BnZstatsPullerService onTransact ") + line});
    }
    const String16 descriptor("com.norda.zstats.IZstatsPullerService");
    reply.setDataPosition(0);
    EXPECT_EQ(reply.readString16(), descriptor);
    EXPECT_EQ(mService->queryLocalInterface(descriptor).get(),
              static_cast<android::IInterface*>(mService.get()));
    EXPECT_EQ(mService->queryLocalInterface(String16("another")), nullptr);
}

}  // namespace
}  // namespace zstats
