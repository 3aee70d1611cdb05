#include <android-base/file.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <future>
#include <system_error>

#include "acquire/PushedAtomSubscription.h"
#include "tests/support/FailingCall.h"
#include "tests/support/OwnEntries.h"
#include "tests/unit/acquire/AcquireKit.h"

namespace zstats {
namespace {

using android::base::unique_fd;
using android::os::ParcelFileDescriptor;

// A sanitizer's library probes memory by writes of other sizes.
constexpr CallArgument kFrameSize = {2, 8 + 4};
constexpr CallArgument kResize = {1, F_SETPIPE_SZ};
constexpr char kStarted[] = "I AtomsAcquire cmdMain in!!!\n";
constexpr char kEnded[] = "I AtomsAcquire cmdMain done!!!\n";

/** The message as protobuf's compiler decodes it, with single blanks. */
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
            {{INT32_MIN, -1, 0, 2, 750, 9999, 10500, 99999}, ""},
            {{3, 749, 100000, 149999},
             pushed("3") + pushed("749") + pushed("100000") + pushed("149999")},
            {{10000, 10499, 150000}, pulled("10000") + pulled("10499") + pulled("150000")},
            {{150030, 100207, 150005}, pushed("100207") + pulled("150030") + pulled("150005")},
            {{700, 3, 700}, pushed("700") + pushed("3") + pushed("700")},
            {{INT32_MAX, INT32_MAX}, pulled("2147483647") + pulled("2147483647")}};
    for (const auto& [ids, text] : rows) EXPECT_EQ(decode(serializeSubscription(ids)), text);
    // The documented number of ordinary ids for a pipe.
    EXPECT_EQ(frameMessage(serializeSubscription(std::vector(23301, 150000))).size(),
              8 + 45 * 23301u);
}

TEST(SubscriptionMessageTest, FollowsItsLengthInLeastSignificantByteFirst) {
    for (const auto& [length, bytes] :
         {std::pair(0, "\0\0\0"), {0xff, "\xff\0\0"}, {0x012345, "\x45\x23\x01"}}) {
        const std::string message(static_cast<size_t>(length), 'm');
        EXPECT_EQ(frameMessage(message), std::string(bytes, 3) + std::string(5, '\0') + message);
    }
}

/** Reads a descriptor until it would block or ends. */
std::string drain(int fd) {
    fcntl(fd, F_SETFL, O_NONBLOCK);
    std::string text(1 << 20, '\0');
    const ssize_t count = read(fd, text.data(), text.size());
    text.resize(count > 0 ? static_cast<size_t>(count) : 0);
    return text;
}

/** Subscriptions to a "stats" service that a test provides. */
class PushedAtomSubscriptionTest : public testing::Test {
  protected:
    PushedAtomSubscriptionTest() {
        gLogLevel = 0;  // all lines are ungated
        inprocess::reset();
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        mReader.reset(ends[0]);
        mWriter.reset(unique_fd(ends[1]));
        mBefore = ownEntries("fd");
    }
    ~PushedAtomSubscriptionTest() override {
        for (const int fd : newDescriptors()) close(fd);  // those that the daemon leaves open
        inprocess::reset();
    }

    /** Publishes a statsd that keeps what its input holds. */
    static void publishStatsdThatReads(std::string* frame) {
        publishCommand("stats", [frame](const ShellCall& call) {
            *frame = drain(call.in);
            return FakeCommand::answer(call);
        });
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
    std::promise<std::set<int>> atEnd;
    mLog.whenLogged(kEnded + 2, [&] { atEnd.set_value(newDescriptors()); });
    EXPECT_EQ(subscribe({150005, 100207, 9}), 1);
    waitForEnds();
    EXPECT_EQ(frame, frameMessage(serializeSubscription({150005, 100207, 9})));
    EXPECT_EQ(drain(mReader.get()), "data");
    const std::set<int> kept = atEnd.get_future().get();
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(fcntl(*kept.begin(), F_GETFL), O_WRONLY);

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
    publishCommand("stats", FakeCommand::answer);
    EXPECT_EQ(subscribe(), 1) << "a descriptor that cannot be duplicated is statsd's to refuse";
    waitForEnds();
}

TEST_F(PushedAtomSubscriptionTest, RunsBesideOthersWithAThreadAndAPipeEach) {
    const auto statsd = publishCommand("stats", FakeCommand::answer);
    statsd->block();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(subscribe(), 1);
    statsd->waitForBlocked(3);
    mLog.waitFor(kStarted + 2, 3);
    EXPECT_EQ(newDescriptors().size(), 3 * 3u);
    statsd->unblock();
    waitForEnds(3);
    EXPECT_EQ(newDescriptors().size(), 3u);
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

TEST_F(PushedAtomSubscriptionTest, FitsThePipeToTheFrame) {
    std::string frame;
    publishStatsdThatReads(&frame);
    const auto page = static_cast<size_t>(getpagesize());
    const std::pair<std::vector<int32_t>, size_t> rows[] = {
            {{}, page},
            {std::vector((page - 8) / 4, 3), page},
            {std::vector((page - 8) / 4 + 1, 3), 2 * page},
            {std::vector(1600, 150000), 131072}};
    for (const auto& [ids, size] : rows) {
        EXPECT_EQ(subscribe(ids), 1);
        waitForEnds();
        mLog.take();
        EXPECT_EQ(frame, frameMessage(serializeSubscription(ids)));
        const std::set<int> kept = newDescriptors();
        ASSERT_EQ(kept.size(), 1u);
        EXPECT_EQ(fcntl(*kept.begin(), F_GETPIPE_SZ), static_cast<int>(size));
        close(*kept.begin());
    }

    // A pipe that cannot be resized still takes what fits, to the byte.
    std::vector<int32_t> ids(static_cast<size_t>(fcntl(mReader.get(), F_GETPIPE_SZ) - 8) / 4, 3);
    withFailingCall(SYS_fcntl, kResize, EPERM, [&] { EXPECT_EQ(subscribe(ids), 1); });
    waitForEnds();
    mLog.take();
    EXPECT_EQ(frame, frameMessage(serializeSubscription(ids)));
    const std::set<int> before = newDescriptors();
    ids.push_back(3);
    withFailingCall(SYS_fcntl, kResize, EPERM, [&] { EXPECT_EQ(subscribe(ids), -1); });
    EXPECT_EQ(mLog.take()[4],
              "E AtomsAcquire write to control pipe done with error(Message too long) \n");
    EXPECT_EQ(newDescriptors(), before);
}

TEST_F(PushedAtomSubscriptionTest, GivesUpWithoutAPipeThatTakesAnythingOrAThread) {
    const Lines lines = {"I AtomsAcquire dumpShellSubscriptionForPush in!\n",
                         "I dumpShellSubscriptionForPush done ret = -1"};
    withFailingCall(SYS_write, kFrameSize, EIO, [&] { EXPECT_EQ(subscribe(), -1); });
    EXPECT_EQ(mLog.take(),
              (Lines{lines[0], "I AtomsAcquire write config \n",
                     "I AtomsAcquire config.SerializeToString \n",
                     "I AtomsAcquire sizeof(n):8 str.size():12\n",
                     "E AtomsAcquire write to control pipe done with error(Input/output error) \n",
                     lines[1]}));
    EXPECT_EQ(newDescriptors(), std::set<int>{});

    // Not first: sanitizers need a pipe to look at an object for the first time.
    testing::internal::CaptureStderr();
    rlimit files;
    getrlimit(RLIMIT_NOFILE, &files);
    const rlimit none = {0, files.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_EQ(subscribe(), -1);
    setrlimit(RLIMIT_NOFILE, &files);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "create control pipe failed\n");
    EXPECT_EQ(mLog.take(), lines);

    // Uncaught, as in the daemon.
    withFailingCall(SYS_clone3, {}, EAGAIN, [&] { EXPECT_THROW(subscribe(), std::system_error); });
}

TEST_F(PushedAtomSubscriptionTest, TakesAShortWriteForAWholeOne) {
    std::string frame = "kept";
    publishStatsdThatReads(&frame);
    withFailingCall(SYS_write, kFrameSize, 0, [&] { EXPECT_EQ(subscribe(), 1); });
    waitForEnds();
    EXPECT_EQ(frame, "");
}

}  // namespace
}  // namespace zstats
