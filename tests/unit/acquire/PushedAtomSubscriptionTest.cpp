#include <binder/ParcelFileDescriptor.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <regex>
#include <system_error>
#include <thread>

#include "acquire/AtomsAcquireService.h"
#include "acquire/PushedAtomSubscription.h"
#include "host/inprocess/InProcessBinder.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/acquire/AcquireKit.h"

using android::IBinder;
using android::IResultReceiver;
using android::sp;
using android::base::unique_fd;
using android::binder::Status;
using android::os::ParcelFileDescriptor;

namespace zstats {
namespace {

/** Everything that a descriptor holds until it would block or its end. */
std::string drain(int fd) {
    fcntl(fd, F_SETFL, O_NONBLOCK);
    std::string text(100000, '\0');
    const ssize_t count = read(fd, text.data(), text.size());
    text.resize(count > 0 ? static_cast<size_t>(count) : 0);
    return text;
}

ino_t inodeOf(int fd) {
    struct stat status {};
    fstat(fd, &status);
    return status.st_ino;
}

/** "atomacq" with a "stats" service that a test provides; gives back what the daemon keeps open. */
class SubscriptionRunTest : public testing::Test {
  protected:
    SubscriptionRunTest() {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        mReader.reset(ends[0]);
        mWriter.reset(unique_fd(ends[1]));
        // The first call through a proxy may open what stays open for good, and the first thread
        // may bring a sanitizer's own with it.
        std::thread([] {}).join();
        subscribe({}, 2000);
        mLog.clear();
        mFds = ownEntries("fd");
        mThreads = ownEntries("task");
    }

    void TearDown() override {
        EXPECT_TRUE(threadsEnd());
        closeDescriptorsSince(mFds);
        inprocess::reset();
    }

    Status subscribe(const std::vector<int32_t>& ids, uid_t uid, int32_t* ret = nullptr) {
        int32_t ignored;
        mRemote->setCallerUid(uid);
        return IAtomsAcquire::asInterface(mRemote->proxy())
                ->registerFdForPushedAtoms(ids, mWriter, ret != nullptr ? ret : &ignored);
    }

    /** The daemon's lines, of a subscription's thread or of the others; by default all. */
    std::string logged(std::optional<bool> ofThread = std::nullopt) const {
        std::string text;
        for (const LogLine& line : mLog.linesOf("zstats_pullerd")) {
            if (ofThread && *ofThread != (line.text.find("AtomsAcquire cmdMain") == 0)) continue;
            text += (line.priority == ANDROID_LOG_ERROR ? "E " : "I ") + line.text + "|";
        }
        return text;
    }

    size_t moreFds() const { return ownEntries("fd").size() - mFds.size(); }
    size_t moreThreads() const { return ownEntries("task").size() - mThreads.size(); }

    /** True once no subscription's thread is left; what they did can be looked at from then on. */
    bool threadsEnd() const {
        const bool ended = eventually([&] { return ownEntries("task") == mThreads; });
        mLog.lines();  // each thread's last act was to write here
        return ended;
    }

    LogCapture mLog;
    unique_fd mReader;
    ParcelFileDescriptor mWriter;
    std::shared_ptr<inprocess::RemoteService> mRemote =
            inprocess::publish("atomacq", sp<IBinder>(new AtomsAcquireService));
    std::set<int> mFds;
    std::set<int> mThreads;
};

TEST_F(SubscriptionRunTest, HandsTheFrameAndTheCallersPipeToStatsd) {
    std::string frame;
    publishCommand("stats", [&](const ShellCall& call) {
        EXPECT_EQ(inodeOf(call.out), inodeOf(mWriter.get()));
        EXPECT_NE(call.out, mWriter.get());
        EXPECT_EQ(call.arguments, std::vector<std::string>{"data-subscribe"});
        EXPECT_EQ(call.err, STDERR_FILENO);
        frame = drain(call.in);
        EXPECT_EQ(write(call.out, "data", 4), 4);
        call.receiver->send(5);
        return android::OK;
    });
    int32_t ret = 0;
    EXPECT_TRUE(subscribe({150005, 100207, 9}, 1000, &ret).isOk());
    EXPECT_EQ(ret, 1);
    ASSERT_TRUE(threadsEnd());
    EXPECT_EQ(frame, frameMessage(serializeSubscription({150005, 100207, 9})));
    EXPECT_EQ(drain(mReader.get()), "data");
    mWriter.reset();
    char byte;
    EXPECT_EQ(read(mReader.get(), &byte, 1), 0) << "somebody still holds the output";

    const bool ofThread = true;
    EXPECT_EQ(std::regex_replace(logged(!ofThread), std::regex("(InFd =|get\\(\\)=)[0-9]+"), "$1N"),
              "I AtomsAcquireService checkCallingPermission callingUid =1000!\n|"
              "I AtomsAcquire dumpShellSubscriptionForPush in!\n|"
              "I AtomsAcquire write config \n|I AtomsAcquire config.SerializeToString \n|"
              "I AtomsAcquire sizeof(n):8 str.size():63\n|"
              "I AtomsAcquire dumpShellSubscriptionForPush write to control pipe done  \n|"
              "I AtomsAcquire zstats data-subscribe in intInFd =N,inFds.get()=N\n|"
              "I dumpShellSubscriptionForPush done ret = 1|");
    EXPECT_EQ(logged(ofThread), "I AtomsAcquire cmdMain in!!!\n|I AtomsAcquire cmdMain done!!!\n|");
}

TEST_F(SubscriptionRunTest, LeavesNothingBehindForARefusedCaller) {
    publishCommand("stats", FakeCommand::answer);
    constexpr char kRefused[] =
            "!\n|E AtomsAcquireService::checkCallingPermission calling from invalid uid:";
    for (uid_t uid : {1U, 999U, 1001U, 1066U, 2000U, 101000U, UINT32_MAX}) {
        mLog.clear();
        int32_t ret = 77;
        const Status status = subscribe({150005}, uid, &ret);
        EXPECT_EQ(status.exceptionCode(), Status::EX_SERVICE_SPECIFIC) << uid;
        EXPECT_EQ(status.serviceSpecificErrorCode(), -1);
        EXPECT_EQ(ret, 77);
        const std::string id = std::to_string(static_cast<int>(uid));
        EXPECT_EQ(logged(), "I AtomsAcquireService checkCallingPermission callingUid =" + id +
                                    kRefused + id +
                                    "|E AtomsAcquireService checkCallingPermission filded!\n|");
    }
    EXPECT_EQ(ownEntries("fd"), mFds);
    EXPECT_EQ(ownEntries("task"), mThreads);
}

TEST_F(SubscriptionRunTest, KeepsOneDescriptorAndNoThreadForEachOfTwenty) {
    publishCommand("stats", FakeCommand::answer);
    mRemote->setCallerUid(1000);
    std::atomic<int> accepted{0};
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 4; ++caller) {
        callers.emplace_back([&] {
            const sp<IAtomsAcquire> client = IAtomsAcquire::asInterface(mRemote->proxy());
            for (int call = 0; call < 5; ++call) {
                int32_t ret = 0;
                client->registerFdForPushedAtoms({150005, 100207}, mWriter, &ret);
                accepted += ret;
            }
        });
    }
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(accepted, 20);
    EXPECT_TRUE(threadsEnd());
    EXPECT_EQ(moreFds(), 20U);
    EXPECT_EQ(mLog.count(ANDROID_LOG_INFO, "AtomsAcquire cmdMain done!!!\n"), 20U);
}

TEST_F(SubscriptionRunTest, WaitsOnAThreadEachForCommandsWithoutAnAnswer) {
    std::mutex lock;
    std::vector<sp<IResultReceiver>> waiting;
    publishCommand("stats", [&](const ShellCall& call) {
        const std::lock_guard<std::mutex> guard(lock);
        waiting.push_back(call.receiver);
        return android::OK;
    });
    constexpr size_t kCalls = 6;
    for (size_t i = 0; i < kCalls; ++i) subscribe({150005}, 0);
    EXPECT_TRUE(eventually([&] {
        const std::lock_guard<std::mutex> guard(lock);
        return waiting.size() == kCalls;
    }));
    EXPECT_EQ(moreThreads(), kCalls);
    EXPECT_EQ(moreFds(), 3 * kCalls);

    for (const auto& receiver : waiting) receiver->send(0);
    EXPECT_TRUE(threadsEnd());
    EXPECT_EQ(moreFds(), kCalls);
}

TEST_F(SubscriptionRunTest, AcceptsAlthoughStatsdIsNotThere) {
    int32_t ret = 0;
    EXPECT_TRUE(subscribe({150005}, 0, &ret).isOk());
    EXPECT_EQ(ret, 1);
    EXPECT_TRUE(threadsEnd());
    EXPECT_EQ(moreFds(), 1U);
}

TEST_F(SubscriptionRunTest, GivesUpWithoutAPipeThatTakesTheFrameOrAThread) {
    const std::string in = "I AtomsAcquire dumpShellSubscriptionForPush in!\n|";
    const std::string written =
            "I AtomsAcquire write config \n|I AtomsAcquire config.SerializeToString \n|"
            "I AtomsAcquire sizeof(n):8 str.size():12\n|"
            "E AtomsAcquire write to control pipe done with error(Input/output error) \n|";
    struct {
        std::vector<int> calls;
        int error;
        const char* onStandardError;
        std::string log;
    } const rows[] = {{{SYS_pipe, SYS_pipe2}, EMFILE, "create control pipe failed\n", in},
                      {{SYS_write}, EIO, "", in + written}};
    // Once as it should be: a sanitizer needs the calls for what it sees for the first time.
    dumpShellSubscriptionForPush({10}, mWriter);
    ASSERT_TRUE(threadsEnd());
    closeDescriptorsSince(mFds);
    for (const auto& row : rows) {
        mLog.clear();
        int32_t ret = 0;
        testing::internal::CaptureStderr();
        withFailingCalls(row.calls, row.error,
                         [&] { ret = dumpShellSubscriptionForPush({10}, mWriter); });
        EXPECT_EQ(ret, -1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), row.onStandardError);
        EXPECT_EQ(logged(), row.log + "I dumpShellSubscriptionForPush done ret = -1|");
        EXPECT_EQ(ownEntries("fd"), mFds);
    }
    // This one is not caught, neither here nor in the daemon.
    withFailingCalls({SYS_clone, SYS_clone3}, EAGAIN, [&] {
        EXPECT_THROW(dumpShellSubscriptionForPush({10}, mWriter), std::system_error);
    });
    EXPECT_FALSE(mLog.contains(ANDROID_LOG_INFO, "done ret = 1"));
}

}  // namespace
}  // namespace zstats
