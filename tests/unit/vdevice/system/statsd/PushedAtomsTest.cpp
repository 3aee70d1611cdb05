#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <future>

#include "vdevice/system/statsd/PushedAtoms.h"

namespace zstats::vdevice {
namespace {

constexpr std::chrono::seconds kPatience(20);
constexpr size_t kAtoms = 1000;

/** A writer's datagram: the log's header, the tag, and the beginning of an event. */
std::string packet(const std::string& event) {
    const uint32_t tag = 1937006964;
    return '\x05' + std::string(10, '\0') +
           std::string(reinterpret_cast<const char*>(&tag), sizeof(tag)) + event;
}

/** Records each event; blocks at the first one until the test releases it. */
struct StallingListener {
    void operator()(const PushedEvent& event) {
        if (events.empty()) {
            first.set_value();
            go.get_future().wait();
        }
        events.push_back(event.bytes);
        if (events.size() == kAtoms) all.set_value();
    }

    std::vector<std::string> events;  // written by one thread only
    std::promise<void> first;
    std::promise<void> go;
    std::promise<void> all;
};

TEST(PushedAtomsTest, takesAtomsWhileWhatIsBehindStalls) {
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends));
    // Static, because the threads never end.
    static auto* listener = new StallingListener;
    static auto* pushed = new PushedAtoms([](const PushedEvent& event) { (*listener)(event); });
    pushed->start(ends[0]);
    const timeval patience = {kPatience.count(), 0};
    setsockopt(ends[1], SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    std::vector<std::string> sent;
    for (size_t i = 0; i < kAtoms; ++i) {
        sent.push_back('\x07' + std::to_string(i));
        const std::string bytes = packet(sent.back());
        ASSERT_EQ(static_cast<ssize_t>(bytes.size()), send(ends[1], bytes.data(), bytes.size(), 0))
                << "atom " << i;
    }
    listener->first.get_future().wait();
    EXPECT_EQ(1U, pushed->recent().size());
    listener->go.set_value();
    ASSERT_EQ(std::future_status::ready, listener->all.get_future().wait_for(kPatience));
    EXPECT_EQ(sent, listener->events);
    EXPECT_EQ(sent.back(), pushed->recent().back().bytes);
    close(ends[1]);
}

}  // namespace
}  // namespace zstats::vdevice
