#include <android-base/file.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <stats_event.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>

#include "host/stats/StatsSocketWriter.h"

namespace zstats {
namespace {

/** statsd's end of the socket, in a temporary folder. */
class StatsSocket {
  public:
    explicit StatsSocket(const std::string& path) : mPath(path) {
        mFd.reset(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        EXPECT_EQ(bind(mFd.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    }
    ~StatsSocket() { unlink(mPath.c_str()); }

    /** The next datagram, empty if there is none. */
    std::string receive() {
        char bytes[8192];
        ssize_t size = recv(mFd.get(), bytes, sizeof(bytes), 0);
        return size < 0 ? "" : std::string(bytes, static_cast<size_t>(size));
    }

  private:
    const std::string mPath;
    android::base::unique_fd mFd;
};

class StatsSocketTest : public testing::Test {
  protected:
    int write(const std::string& event, uint32_t atomId = 7) {
        return mWriter.write(reinterpret_cast<const uint8_t*>(event.data()), event.size(), atomId);
    }

    TemporaryDir mDir;
    const std::string mPath = std::string(mDir.path) + "/statsdw";
    StatsSocketWriter mWriter{mPath};
};

constexpr char kTagBytes[] = "tats";

template <typename Number>
std::string bytesOf(Number number) {
    return {reinterpret_cast<const char*>(&number), sizeof(number)};
}

TEST_F(StatsSocketTest, sendsHeaderTagAndEventInOneDatagram) {
    StatsSocket statsd(mPath);
    const time_t before = time(nullptr);
    EXPECT_EQ(write("event"), 9);
    const std::string datagram = statsd.receive();
    ASSERT_EQ(datagram.size(), 11 + 4 + 5u);
    EXPECT_EQ(datagram.substr(0, 3), "\5" + bytesOf(static_cast<uint16_t>(syscall(SYS_gettid))));
    uint32_t seconds = 0;
    memcpy(&seconds, &datagram[3], sizeof(seconds));
    EXPECT_GE(seconds, static_cast<uint32_t>(before));
    EXPECT_EQ(datagram.substr(11), std::string(kTagBytes) + "event");
    EXPECT_EQ(statsd.receive(), "");
}

TEST_F(StatsSocketTest, followsAStatsdThatComesAndGoes) {
    EXPECT_EQ(write("lost"), -ENODEV);
    auto statsd = std::make_unique<StatsSocket>(mPath);
    EXPECT_EQ(write("a"), 5);
    statsd.reset();
    EXPECT_EQ(write("lost"), -ENODEV);
    statsd = std::make_unique<StatsSocket>(mPath);
    EXPECT_EQ(write("b"), 5);
    statsd.reset();
    statsd = std::make_unique<StatsSocket>(mPath);
    EXPECT_EQ(write("c"), 5);
    EXPECT_EQ(statsd->receive().substr(11), std::string(kTagBytes) + "c");
}

TEST_F(StatsSocketTest, reportsLossesBeforeTheNextEventThatGetsThrough) {
    EXPECT_EQ(write("x", 100), -ENODEV);
    EXPECT_EQ(write("y", 101), -ENODEV);
    StatsSocket statsd(mPath);
    EXPECT_EQ(write("z", 102), 5);
    EXPECT_EQ(statsd.receive().substr(11),
              bytesOf(-ENODEV) + "\1" + bytesOf(uint64_t{101} << 32 | 2));
    EXPECT_EQ(statsd.receive().substr(11), std::string(kTagBytes) + "z");
    EXPECT_EQ(write("again", 102), 9);
    EXPECT_EQ(statsd.receive().substr(11), std::string(kTagBytes) + "again");
}

TEST_F(StatsSocketTest, losesEventsRatherThanWaitForStatsd) {
    StatsSocket statsd(mPath);
    int result = 0;
    int sent = 0;
    for (; sent < 100000 && (result = write("burst")) > 0; ++sent) {
    }
    EXPECT_EQ(result, -EAGAIN);
    for (int i = 0; i < sent; ++i) EXPECT_NE(statsd.receive(), "");
    EXPECT_EQ(write("after"), 9);
    EXPECT_EQ(statsd.receive().size(), 11 + 13u);
    EXPECT_EQ(statsd.receive().substr(15), "after");
}

TEST(PushedEventTest, isBuiltWithTheLimitOfALogEntry) {
    for (size_t excess : {0, 1}) {
        AStatsEvent* event = AStatsEvent_obtain();
        AStatsEvent_setAtomId(event, 1);
        AStatsEvent_writeString(event, std::string(4064 - 16 - 5 + excess, 'x').c_str());
        // A PC has no stats socket.
        EXPECT_EQ(AStatsEvent_write(event), -ENODEV);
        size_t size = 0;
        AStatsEvent_getBuffer(event, &size);
        EXPECT_EQ(size, excess == 0 ? 4064u : 21u);  // 21: an event with an error field alone
        AStatsEvent_release(event);
    }
}

}  // namespace
}  // namespace zstats
