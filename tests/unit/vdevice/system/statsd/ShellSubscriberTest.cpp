#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <future>

#include "proto/shell_config.pb.h"
#include "tests/unit/vdevice/system/statsd/FakePuller.h"
#include "vdevice/system/statsd/ShellSubscriber.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int32_t kPushed = 100207;

struct Pipe {
    Pipe() {
        int ends[2];
        EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
        in.reset(ends[0]);
        out.reset(ends[1]);
    }
    unique_fd in;
    unique_fd out;
};

/** The bytes that subscribe to the one pushed atom. */
std::string config() {
    android::os::statsd::ShellSubscription message;
    message.add_pushed()->set_atom_id(kPushed);
    const std::string bytes = message.SerializeAsString();
    const uint64_t size = bytes.size();
    return std::string(reinterpret_cast<const char*>(&size), sizeof(size)) + bytes;
}

class ShellSubscriberTest : public testing::Test {
  protected:
    void SetUp() override { signal(SIGPIPE, SIG_IGN); }

    /** Starts a subscription that streams to `out`. */
    void start(int out, const std::string& bytes = config()) {
        Pipe control;
        EXPECT_TRUE(android::base::WriteStringToFd(bytes, control.out));
        control.out.reset();
        mSubscriber.start(control.in.get(), out, seconds(0));
    }

    void push() { mSubscriber.push({0, eventBytes(kPushed, 1)}); }

    /** Reads frames until one has an atom; false at the end of the stream. */
    static bool readAtom(int stream) {
        uint64_t size = 0;
        do {
            if (!android::base::ReadFully(stream, &size, sizeof(size))) return false;
        } while (size == 0);
        std::string message(size, '\0');
        return android::base::ReadFully(stream, message.data(), size);
    }

    static bool isDone(const std::future<void>& future, milliseconds patience) {
        return future.wait_for(patience) == std::future_status::ready;
    }

    void waitForRunning(size_t count) {
        for (int i = 0; mSubscriber.running() != count && i < 2000; ++i) {
            std::this_thread::sleep_for(milliseconds(10));
        }
        EXPECT_EQ(count, mSubscriber.running());
    }

    PullerManager mManager;
    ShellSubscriber mSubscriber{&mManager};
};

TEST_F(ShellSubscriberTest, streamsToEverySubscriptionUntilItsReaderGoes) {
    Pipe first;
    Pipe second;
    start(first.out.get());
    start(second.out.get());
    EXPECT_EQ(2u, mSubscriber.running());
    push();
    EXPECT_TRUE(readAtom(first.in.get()) && readAtom(second.in.get()));
    first.in.reset();
    push();
    EXPECT_TRUE(readAtom(second.in.get()));
    waitForRunning(1);
    second.in.reset();
    waitForRunning(0);
    // With the last one the thread has ended; a new one serves the next.
    Pipe third;
    start(third.out.get());
    push();
    EXPECT_TRUE(readAtom(third.in.get()));
}

TEST_F(ShellSubscriberTest, refusesBrokenConfigurationsAndTheTwentyFirst) {
    Pipe out;
    const std::string good = config();
    const std::string length(8, '\0');
    for (const std::string& bad :
         {good.substr(0, 7), good.substr(0, good.size() - 1),
          std::string("\xff\xff\xff\xff\0\0\0\0", 8), "\2" + length.substr(1) + "\xff\xff"}) {
        start(out.out.get(), bad);
        EXPECT_EQ(0u, mSubscriber.running());
    }
    start(out.out.get(), length);
    for (int i = 0; i < 20; ++i) start(out.out.get());
    EXPECT_EQ(20u, mSubscriber.running());
}

TEST_F(ShellSubscriberTest, aReaderWhoStopsReadingStopsAll) {
    Pipe stuck;
    fcntl(stuck.out.get(), F_SETPIPE_SZ, 4096);
    Pipe other;
    start(stuck.out.get());
    start(other.out.get());
    // Small frames fill the pipe of the one who does not read; he blocks whoever pushes.
    auto pushes = std::async(std::launch::async, [&] {
        for (int i = 0; i < 400; ++i) push();
    });
    ASSERT_FALSE(isDone(pushes, milliseconds(500)));
    Pipe late;
    auto startOfAnother = std::async(std::launch::async, [&] { start(late.out.get()); });
    EXPECT_FALSE(isDone(startOfAnother, milliseconds(200)));
    EXPECT_EQ(2u, mSubscriber.running());

    stuck.in.reset();
    EXPECT_TRUE(isDone(pushes, seconds(20)));
    EXPECT_TRUE(isDone(startOfAnother, seconds(20)));
    EXPECT_TRUE(readAtom(other.in.get()));
    push();
    EXPECT_TRUE(readAtom(late.in.get()));
}

TEST_F(ShellSubscriberTest, anUnfinishedConfigurationStopsAll) {
    Pipe other;
    start(other.out.get());
    Pipe control;
    Pipe out;
    auto unfinished = std::async(std::launch::async, [&] {
        mSubscriber.start(control.in.get(), out.out.get(), seconds(0));
    });
    while (fcntl(control.in.get(), F_GETFD) < 0 ||
           unfinished.wait_for(milliseconds(100)) == std::future_status::ready) {
    }
    auto pushed = std::async(std::launch::async, [&] { push(); });
    EXPECT_FALSE(isDone(pushed, milliseconds(200)));
    control.out.reset();
    EXPECT_TRUE(isDone(unfinished, seconds(20)) && isDone(pushed, seconds(20)));
    EXPECT_TRUE(readAtom(other.in.get()));
}

}  // namespace
}  // namespace zstats::vdevice
