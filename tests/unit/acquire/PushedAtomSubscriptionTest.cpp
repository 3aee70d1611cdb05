#include <android-base/file.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <numeric>
#include <optional>
#include <system_error>
#include <thread>

#include "acquire/PushedAtomSubscription.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OwnEntries.h"
#include "tests/unit/acquire/AcquireKit.h"

namespace {

// What the C library's functions below answer on this thread: an error, or their own result.
thread_local int gPipeError = 0;
thread_local int gThreadError = 0;
thread_local int gWriteError = 0;
thread_local size_t gWriteLimit = SIZE_MAX;
thread_local int gWrites = 0;

template <typename Function>
Function* genuine(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/** Whether this program calls, and not a sanitizer's library, which looks at memory through a pipe. */
bool isThisProgram(const void* caller) {
    Dl_info other;
    Dl_info own;
    return dladdr(caller, &other) != 0 &&
           dladdr(reinterpret_cast<const void*>(&isThisProgram), &own) != 0 &&
           other.dli_fbase == own.dli_fbase;
}

}  // namespace

extern "C" int pipe(int ends[2]) noexcept {
    if (gPipeError == 0 || !isThisProgram(__builtin_return_address(0))) return pipe2(ends, 0);
    errno = gPipeError;
    return -1;
}

extern "C" ssize_t write(int fd, const void* data, size_t size) {
    static const auto next = genuine<ssize_t(int, const void*, size_t)>("write");
    if (!isThisProgram(__builtin_return_address(0))) return next(fd, data, size);
    ++gWrites;
    if (gWriteError == 0) return next(fd, data, std::min(size, gWriteLimit));
    errno = gWriteError;
    return -1;
}

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*body)(void*), void* argument) noexcept {
    static const auto next = genuine<decltype(pthread_create)>("pthread_create");
    return gThreadError != 0 ? gThreadError : next(thread, attributes, body, argument);
}

namespace zstats {
namespace {

using android::IResultReceiver;
using android::sp;
using android::base::unique_fd;
using android::os::ParcelFileDescriptor;

constexpr char kStarted[] = "I AtomsAcquire cmdMain in!!!\n";
constexpr char kEnded[] = "I AtomsAcquire cmdMain done!!!\n";

TEST(SubscriptionMessageTest, ClassifiesIdsByRange) {
    constexpr AtomDelivery kNone = AtomDelivery::kNone;
    constexpr AtomDelivery kPushed = AtomDelivery::kPushed;
    constexpr AtomDelivery kPulled = AtomDelivery::kPulled;
    const std::pair<int32_t, AtomDelivery> rows[] = {
            {INT32_MIN, kNone}, {-1, kNone},       {0, kNone},        {2, kNone},
            {3, kPushed},       {749, kPushed},    {750, kNone},      {9999, kNone},
            {10000, kPulled},   {10499, kPulled},  {10500, kNone},    {99999, kNone},
            {100000, kPushed},  {149999, kPushed}, {150000, kPulled}, {INT32_MAX, kPulled}};
    for (const auto& [id, source] : rows) EXPECT_EQ(deliveryOf(id), source) << id;
}

/** The message as protobuf's own compiler reads it, words one blank apart. */
std::string decode(const std::string& message) {
    const TemporaryFile file;
    EXPECT_TRUE(android::base::WriteStringToFd(message, file.fd));
    FILE* const output = popen(("protoc --decode_raw <" + std::string(file.path)).c_str(), "r");
    std::string text;
    char word[32];
    while (fscanf(output, "%31s", word) == 1) text += std::string(word) + " ";
    EXPECT_EQ(pclose(output), 0);
    return text;
}

TEST(SubscriptionMessageTest, HoldsTheIdsOfEachKindInTheirOrder) {
    const auto pushed = [](const std::string& id) { return "1 { 1: " + id + " } "; };
    const auto pulled = [](const std::string& id) {
        return "2 { 1 { 1: " + id + R"( } 2: 1000 3: "AID_ROOT" 3: "AID_SYSTEM" 3: "AID_STATSD" } )";
    };
    const std::pair<std::vector<int32_t>, std::string> rows[] = {
            {{}, ""},
            {{2, 750, -5, 20000}, ""},
            {{10, 100500, 10050, 150010, 20000, 2},
             pushed("10") + pushed("100500") + pulled("10050") + pulled("150010")},
            {{150030, 100207, 150005}, pushed("100207") + pulled("150030") + pulled("150005")},
            {{700, 3, 700}, pushed("700") + pushed("3") + pushed("700")},
            {{INT32_MAX, INT32_MAX}, pulled("2147483647") + pulled("2147483647")},
    };
    for (const auto& [ids, text] : rows) EXPECT_EQ(decode(serializeSubscription(ids)), text);
}

TEST(SubscriptionMessageTest, FollowsItsLengthInLeastSignificantByteFirst) {
    const std::pair<size_t, std::string> rows[] = {
            {0, std::string(8, '\0')},
            {0xFF, "\xff" + std::string(7, '\0')},
            {0x012345, "\x45\x23\x01" + std::string(5, '\0')}};
    for (const auto& [length, prefix] : rows) {
        const std::string message(length, 'm');
        EXPECT_EQ(frameMessage(message), prefix + message);
    }
    // What a pipe holds, as the header tells.
    std::vector<int32_t> ids(1456);
    std::iota(ids.begin(), ids.end(), 150000);
    EXPECT_EQ(frameMessage(serializeSubscription(ids)).size(), 8 + 45 * 1456u);
    EXPECT_LE(8 + 45 * 1456, 65536);
    EXPECT_GT(8 + 45 * 1457, 65536);
}

/** Everything that a descriptor holds until it would block or its end. */
std::string drain(int fd) {
    fcntl(fd, F_SETFL, O_NONBLOCK);
    std::string text(100000, '\0');
    const ssize_t count = read(fd, text.data(), text.size());
    text.resize(count > 0 ? static_cast<size_t>(count) : 0);
    return text;
}

/** Subscriptions to a "stats" service that a test provides. */
class PushedAtomSubscriptionTest : public testing::Test {
  protected:
    PushedAtomSubscriptionTest() {
        inprocess::reset();
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        mReader.reset(ends[0]);
        mWriter.reset(unique_fd(ends[1]));
        mBefore = ownEntries("fd");
    }
    ~PushedAtomSubscriptionTest() override {
        closeNewDescriptors();
        inprocess::reset();
    }

    int32_t subscribe(const std::vector<int32_t>& ids = {10}) {
        return dumpShellSubscriptionForPush(ids, mWriter);
    }
    void waitForEnds(size_t count = 1) const { mLog.waitFor(kEnded + 2, count); }

    std::set<int> newDescriptors() const {
        std::set<int> fds = ownEntries("fd");
        for (const int fd : mBefore) fds.erase(fd);
        return fds;
    }
    /** Those that the daemon leaves open, for the next test. */
    void closeNewDescriptors() {
        for (const int fd : newDescriptors()) close(fd);
    }

    LogCapture mLog;
    std::set<int> mBefore;
    unique_fd mReader;
    ParcelFileDescriptor mWriter;
};

TEST_F(PushedAtomSubscriptionTest, HandsTheFrameAndADuplicateToStatsdAndKeepsThePipesWriteEnd) {
    std::string frame;
    std::string duplicate;
    publishCommand("stats", [&](const ShellCall& call) {
        duplicate = std::to_string(call.out);
        EXPECT_NE(call.out, mWriter.get());
        EXPECT_EQ(call.arguments, Lines{"data-subscribe"});
        EXPECT_EQ(call.err, 2);
        frame = drain(call.in);
        EXPECT_EQ(write(call.out, "data", 4), 4);
        call.receiver->send(5);
        return android::OK;
    });
    gWrites = 0;
    EXPECT_EQ(subscribe({150005, 100207, 9}), 1);
    EXPECT_EQ(gWrites, 1);
    waitForEnds();
    EXPECT_EQ(frame, frameMessage(serializeSubscription({150005, 100207, 9})));
    EXPECT_EQ(drain(mReader.get()), "data");
    const std::set<int> kept = newDescriptors();
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(fcntl(*kept.begin(), F_GETFL) & O_ACCMODE, O_WRONLY);

    const std::string caller = std::to_string(mWriter.get());
    mWriter.reset();
    char byte;
    EXPECT_EQ(read(mReader.get(), &byte, 1), 0) << "somebody still holds the output";
    Lines ofThread;
    Lines ofCall;
    for (std::string& line : mLog.take()) {
        (line == kStarted || line == kEnded ? ofThread : ofCall).push_back(std::move(line));
    }
    EXPECT_EQ(ofThread, (Lines{kStarted, kEnded}));
    EXPECT_EQ(ofCall,
              (Lines{"I AtomsAcquire dumpShellSubscriptionForPush in!\n",
                     "I AtomsAcquire write config \n", "I AtomsAcquire config.SerializeToString \n",
                     "I AtomsAcquire sizeof(n):8 str.size():63\n",
                     "I AtomsAcquire dumpShellSubscriptionForPush write to control pipe done  \n",
                     "I AtomsAcquire zstats data-subscribe in intInFd =" + duplicate +
                             ",inFds.get()=" + caller + "\n",
                     "I dumpShellSubscriptionForPush done ret = 1"}));
}

TEST_F(PushedAtomSubscriptionTest, RunsAtTheSameTimeWithAThreadAndAPipeEach) {
    std::mutex lock;
    std::condition_variable arrived;
    std::vector<sp<IResultReceiver>> waiting;
    publishCommand("stats", [&](const ShellCall& call) {
        const std::lock_guard<std::mutex> guard(lock);
        waiting.push_back(call.receiver);
        arrived.notify_all();
        return android::OK;
    });
    constexpr size_t kCalls = 6;
    std::vector<std::thread> callers;
    for (size_t i = 0; i < kCalls; ++i) callers.emplace_back([&] { EXPECT_EQ(subscribe(), 1); });
    for (std::thread& caller : callers) caller.join();
    {
        std::unique_lock<std::mutex> guard(lock);
        arrived.wait(guard, [&] { return waiting.size() == kCalls; });
    }
    EXPECT_EQ(newDescriptors().size(), 3 * kCalls);
    for (const auto& receiver : waiting) receiver->send(0);
    waitForEnds(kCalls);
    EXPECT_EQ(newDescriptors().size(), kCalls);
}

TEST_F(PushedAtomSubscriptionTest, SaysInTheLogAndOnItsStreamsWhyStatsdGetsNothing) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(subscribe(), 1);
    waitForEnds();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "cmd: Can't find service: stats\n");
    EXPECT_EQ(mLog.take("cmd"), Lines{"W Can't find service stats"});

    publishCommand("stats", FakeCommand::answer)->failCalls(android::DEAD_OBJECT);
    testing::internal::CaptureStdout();
    EXPECT_EQ(subscribe(), 1);
    waitForEnds();
    const std::string failure = "Failure calling service stats: Broken pipe (32)";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "cmd: " + failure + "\n");
    EXPECT_EQ(mLog.take("cmd"), Lines{"W " + failure});
}

TEST_F(PushedAtomSubscriptionTest, GivesUpWithoutAPipeThatTakesAnythingOrAThread) {
    const Lines lines = {"I AtomsAcquire dumpShellSubscriptionForPush in!\n",
                         "I dumpShellSubscriptionForPush done ret = -1"};
    testing::internal::CaptureStderr();
    gPipeError = EMFILE;
    EXPECT_EQ(subscribe(), -1);
    gPipeError = 0;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "create control pipe failed\n");
    EXPECT_EQ(mLog.take(), lines);

    gWriteError = EIO;
    gWrites = 0;
    EXPECT_EQ(subscribe(), -1);
    gWriteError = 0;
    EXPECT_EQ(gWrites, 1);
    EXPECT_EQ(mLog.take(),
              (Lines{lines[0], "I AtomsAcquire write config \n",
                     "I AtomsAcquire config.SerializeToString \n",
                     "I AtomsAcquire sizeof(n):8 str.size():12\n",
                     "E AtomsAcquire write to control pipe done with error(Input/output error) \n",
                     lines[1]}));
    EXPECT_EQ(newDescriptors(), std::set<int>{});

    // This one is not caught, neither here nor in the daemon.
    gThreadError = EAGAIN;
    EXPECT_THROW(subscribe(), std::system_error);
    gThreadError = 0;
}

TEST_F(PushedAtomSubscriptionTest, TakesAShortWriteForAWholeOne) {
    std::string frame;
    publishCommand("stats", [&](const ShellCall& call) {
        frame = drain(call.in);
        return FakeCommand::answer(call);
    });
    for (const size_t limit : {3, 0}) {
        gWriteLimit = limit;
        gWrites = 0;
        EXPECT_EQ(subscribe(), 1);
        gWriteLimit = SIZE_MAX;
        EXPECT_EQ(gWrites, 1);
        waitForEnds();
        mLog.take();
        EXPECT_EQ(frame.size(), limit);
    }
}

}  // namespace
}  // namespace zstats
