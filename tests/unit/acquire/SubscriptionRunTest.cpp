#include <binder/ParcelFileDescriptor.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
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

/** "atomacq" with a "stats" service that a test provides; gives back what the daemon keeps open. */
class SubscriptionRunTest : public testing::Test {
  protected:
    SubscriptionRunTest() {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        mReader.reset(ends[0]);
        mWriter.reset(unique_fd(ends[1]));
        // The first call through a proxy may open what stays open for good.
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
    ino_t outputInode = 0;
    std::vector<std::string> arguments;
    std::string frame;
    int error = -1;
    bool duplicated = false;
    inprocess::publish("stats", sp<IBinder>(new FakeCommand([&](const ShellCall& call) {
                           struct stat status {};
                           fstat(call.out, &status);
                           outputInode = status.st_ino;
                           duplicated = call.out != mWriter.get();
                           arguments = call.arguments;
                           frame = drain(call.in);
                           error = call.err;
                           EXPECT_EQ(write(call.out, "data", 4), 4);
                           call.receiver->send(5);
                           return android::OK;
                       })));
    int32_t ret = 0;
    EXPECT_TRUE(subscribe({150005, 100207, 9}, 1000, &ret).isOk());
    EXPECT_EQ(ret, 1);
    ASSERT_TRUE(threadsEnd());

    struct stat status {};
    fstat(mWriter.get(), &status);
    EXPECT_EQ(outputInode, status.st_ino);
    EXPECT_TRUE(duplicated);
    EXPECT_EQ(arguments, std::vector<std::string>{"data-subscribe"});
    EXPECT_EQ(frame, frameMessage(serializeSubscription({150005, 100207, 9})));
    EXPECT_EQ(error, 2);
    EXPECT_EQ(drain(mReader.get()), "data");
    mWriter.reset();
    char byte;
    EXPECT_EQ(read(mReader.get(), &byte, 1), 0) << "somebody still holds the output";
}

TEST_F(SubscriptionRunTest, LogsEachStep) {
    inprocess::publish("stats", sp<IBinder>(FakeCommand::answering(0)));
    subscribe({}, 0);
    ASSERT_TRUE(threadsEnd());
    std::vector<std::string> caller;
    std::vector<std::string> thread;
    for (const LogLine& line : mLog.linesOf("zstats_pullerd")) {
        EXPECT_EQ(line.priority, ANDROID_LOG_INFO) << line.text;
        const bool ofThread = line.text.find("AtomsAcquire cmdMain") == 0;
        (ofThread ? thread : caller).push_back(line.text);
    }
    ASSERT_EQ(caller.size(), 8U);
    const std::string duplicate = "AtomsAcquire zstats data-subscribe in intInFd =";
    EXPECT_EQ(caller[6].substr(0, duplicate.size()), duplicate);
    caller.erase(caller.begin() + 6);
    EXPECT_EQ(caller,
              (std::vector<std::string>{
                      "AtomsAcquireService checkCallingPermission callingUid =0!\n",
                      "AtomsAcquire dumpShellSubscriptionForPush in!\n",
                      "AtomsAcquire write config \n", "AtomsAcquire config.SerializeToString \n",
                      "AtomsAcquire sizeof(n):8 str.size():8\n",
                      "AtomsAcquire dumpShellSubscriptionForPush write to control pipe "
                      "done  \n",
                      "dumpShellSubscriptionForPush done ret = 1"}));
    EXPECT_EQ(thread, (std::vector<std::string>{"AtomsAcquire cmdMain in!!!\n",
                                                "AtomsAcquire cmdMain done!!!\n"}));
}

TEST_F(SubscriptionRunTest, LeavesNothingBehindForARefusedCaller) {
    inprocess::publish("stats", sp<IBinder>(FakeCommand::answering(0)));
    for (uid_t uid : {1U, 999U, 1001U, 1066U, 2000U, 10123U, 101000U, UINT32_MAX}) {
        mLog.clear();
        int32_t ret = 77;
        const Status status = subscribe({150005}, uid, &ret);
        EXPECT_EQ(status.exceptionCode(), Status::EX_SERVICE_SPECIFIC) << uid;
        EXPECT_EQ(status.serviceSpecificErrorCode(), -1);
        EXPECT_EQ(ret, 77);
        const std::string id = std::to_string(static_cast<int>(uid));
        const auto lines = mLog.linesOf("zstats_pullerd");
        ASSERT_EQ(lines.size(), 3U);
        EXPECT_EQ(lines[0].text,
                  "AtomsAcquireService checkCallingPermission callingUid =" + id + "!\n");
        EXPECT_EQ(lines[1].text,
                  "AtomsAcquireService::checkCallingPermission calling from invalid uid:" + id);
        EXPECT_EQ(lines[1].priority, ANDROID_LOG_ERROR);
        EXPECT_EQ(lines[2].text, "AtomsAcquireService checkCallingPermission filded!\n");
        EXPECT_EQ(lines[2].priority, ANDROID_LOG_ERROR);
    }
    EXPECT_EQ(ownEntries("fd"), mFds);
    EXPECT_EQ(ownEntries("task"), mThreads);
}

TEST_F(SubscriptionRunTest, RefusesWithTheBareStatus) {
    mRemote->setCallerUid(1066);
    android::Parcel request;
    android::Parcel reply;
    request.writeInterfaceToken(IAtomsAcquire::descriptor);
    request.writeInt32Vector(std::vector<int32_t>{10});
    request.writeParcelable(mWriter);
    EXPECT_EQ(mRemote->proxy()->transact(IAtomsAcquire::kRegisterFdForPushedAtoms, request, &reply),
              android::OK);
    const int32_t expected[] = {-8, 0, 0, 0, -1};
    ASSERT_EQ(reply.dataSize(), sizeof(expected));
    EXPECT_EQ(memcmp(reply.data(), expected, sizeof(expected)), 0);
}

TEST_F(SubscriptionRunTest, KeepsOneDescriptorAndNoThreadForEachOfTwenty) {
    inprocess::publish("stats", sp<IBinder>(FakeCommand::answering(0)));
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
    inprocess::publish("stats", sp<IBinder>(new FakeCommand([&](const ShellCall& call) {
                           const std::lock_guard<std::mutex> guard(lock);
                           waiting.push_back(call.receiver);
                           return android::OK;
                       })));
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
    EXPECT_TRUE(mLog.contains(ANDROID_LOG_WARN, "Can't find service stats"));
    EXPECT_EQ(moreFds(), 1U);
}

TEST_F(SubscriptionRunTest, FailsWithoutAPipe) {
    int32_t ret = 0;
    testing::internal::CaptureStderr();
    withFailingCalls({SYS_pipe, SYS_pipe2}, EMFILE,
                     [&] { ret = dumpShellSubscriptionForPush({10}, mWriter); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "create control pipe failed\n");
    EXPECT_EQ(ret, -1);
    EXPECT_TRUE(mLog.contains(ANDROID_LOG_INFO, "dumpShellSubscriptionForPush done ret = -1"));
    EXPECT_FALSE(mLog.contains(ANDROID_LOG_INFO, "write config"));
    EXPECT_EQ(ownEntries("fd"), mFds);
}

TEST_F(SubscriptionRunTest, ClosesThePipeThatItCannotWrite) {
    int32_t ret = 0;
    withFailingCalls({SYS_write}, EIO, [&] { ret = dumpShellSubscriptionForPush({10}, mWriter); });
    EXPECT_EQ(ret, -1);
    EXPECT_TRUE(mLog.contains(
            ANDROID_LOG_ERROR,
            "AtomsAcquire write to control pipe done with error(Input/output error) \n"));
    EXPECT_EQ(ownEntries("fd"), mFds);
    EXPECT_FALSE(mLog.contains(ANDROID_LOG_INFO, "cmdMain in"));
}

TEST_F(SubscriptionRunTest, DoesNotHideThatNoThreadCanBeStarted) {
    bool thrown = false;
    withFailingCalls({SYS_clone, SYS_clone3}, EAGAIN, [&] {
        try {
            dumpShellSubscriptionForPush({10}, mWriter);
        } catch (const std::system_error& error) {
            thrown = error.code() == std::errc::resource_unavailable_try_again;
        }
    });
    EXPECT_TRUE(thrown);
    EXPECT_FALSE(mLog.contains(ANDROID_LOG_INFO, "done ret"));
}

}  // namespace
}  // namespace zstats
