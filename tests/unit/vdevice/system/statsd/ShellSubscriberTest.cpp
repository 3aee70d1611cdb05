#include <fcntl.h>
#include <gtest/gtest.h>
#include <stats_event.h>
#include <unistd.h>

#include "proto/shell_config.pb.h"
#include "vdevice/system/statsd/ShellSubscriber.h"

namespace zstats::vdevice {
namespace {

using namespace cli;

constexpr int32_t kTag = 100207;
constexpr int kPipeBytes = 4096;

/** A pipe whose write end is closed by the destructor, if it is open. */
struct Pipe {
    Pipe() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
        read.reset(ends[0]);
        write.reset(ends[1]);
    }
    android::base::unique_fd read;
    android::base::unique_fd write;
};

PushedEvent pushedEvent(size_t textBytes) {
    AStatsEvent* event = AStatsEvent_obtain();
    AStatsEvent_setAtomId(event, kTag);
    AStatsEvent_writeString(event, std::string(textBytes, 'x').c_str());
    AStatsEvent_build(event);
    size_t size = 0;
    const auto* bytes = reinterpret_cast<const char*>(AStatsEvent_getBuffer(event, &size));
    PushedEvent pushed{0, std::string(bytes, size)};
    AStatsEvent_release(event);
    return pushed;
}

void subscribe(ShellSubscriber* subscriber, const Pipe& out) {
    android::os::statsd::ShellSubscription config;
    config.add_pushed()->set_atom_id(kTag);
    const std::string bytes = config.SerializeAsString();
    const uint64_t size = bytes.size();
    const Pipe in;
    write(in.write, &size, sizeof(size));
    write(in.write, bytes.data(), bytes.size());
    subscriber->start(in.read, out.write, std::chrono::seconds(0));
}

TEST(ShellSubscriberTest, endsAStreamThatHasNoRoomAndMayNotWait) {
    PullerManager pullers;
    ShellSubscriber subscriber(&pullers);
    Pipe full;
    const Pipe other;
    fcntl(full.write, F_SETPIPE_SZ, kPipeBytes);
    fcntl(full.write, F_SETFL, O_NONBLOCK);
    subscribe(&subscriber, full);
    subscribe(&subscriber, other);
    full.write.reset();
    EXPECT_EQ(2U, subscriber.running());
    const PushedEvent event = pushedEvent(kPipeBytes / 2);
    subscriber.push(event);
    EXPECT_EQ(2U, subscriber.running());
    subscriber.push(event);
    EXPECT_EQ(1U, subscriber.running());
    subscriber.push(event);
    // The frames that fit, then the end of the stream.
    std::string stream;
    char bytes[kPipeBytes];
    for (ssize_t count; (count = read(full.read, bytes, sizeof(bytes))) > 0;) {
        stream.append(bytes, static_cast<size_t>(count));
    }
    ShellFrameCutter cutter;
    cutter.append(stream.data(), stream.size());
    EXPECT_TRUE(parseShellData(cutter.next().value_or("none")).has_value());
    EXPECT_FALSE(cutter.next().has_value());
}

}  // namespace
}  // namespace zstats::vdevice
