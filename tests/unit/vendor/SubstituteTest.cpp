#include <gtest/gtest.h>

#include <cerrno>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/SubstituteProfile.h"
#include "vendor/include/zbpf_connection.h"

namespace zstats {
namespace {

using substitute::Injection;

/** The calls of the callbacks below, which run on the library's threads. */
std::mutex gLock;
std::vector<std::string> gArrivals;  // guarded by gLock
std::thread::id gThread;             // guarded by gLock

void arrived(const std::string& text) {
    const std::lock_guard<std::mutex> guard(gLock);
    gArrivals.push_back(text);
    gThread = std::this_thread::get_id();
}

std::vector<std::string> takeArrivals() {
    const std::lock_guard<std::mutex> guard(gLock);
    return std::exchange(gArrivals, {});
}

void onData(int flag, short type, char* record) {
    arrived(std::to_string(flag) + " " + std::to_string(type) + " " +
            (record == nullptr ? "null" : record + 16));
}

void onOtherData(int /*flag*/, short /*type*/, char* /*record*/) {
    arrived("other");
}

void onGone() {
    arrived("gone");
}

int connect(const std::string& path, zbpf_data_callback callback = onData) {
    zbpf_connect_request request = {};
    path.copy(request.path, sizeof(request.path) - 1);
    std::string("test").copy(request.name, sizeof(request.name) - 1);
    request.on_data = callback;
    request.on_disconnect = onGone;
    return zbpf_connect_start(&request);
}

/** A connection that lasts as long as the object. */
struct Connected {
    ~Connected() { EXPECT_EQ(zbpf_connect_exit(fd, "test"), 0); }

    const int fd;
};

class SubstituteTest : public testing::Test {
  protected:
    SubstituteTest() { takeArrivals(); }

    const SubstituteProfile mProfile;
};

TEST_F(SubstituteTest, aRecordArrivesOnceAtItsOwnConnectionAlone) {
    const Connected connection{connect("/bpf/a")};
    const Connected other{connect("/bpf/a_too", onOtherData)};
    const Injection records[] = {{1, 3, substitute::fatalDataRecord(7, 1, 2, 3, "text")},
                                 {0, -1, std::nullopt},
                                 {2, 0, substitute::fatalDataRecord(0, 0, 0, 0, "")}};
    for (const Injection& record : records)
        EXPECT_EQ(substitute::injectRecord("/bpf/a", record), 0);
    EXPECT_EQ(substitute::injectDisconnect("/bpf/a"), 0);
    EXPECT_EQ(takeArrivals(), (std::vector<std::string>{"1 3 text", "0 -1 null", "2 0 ", "gone"}));
    EXPECT_NE(gThread, std::this_thread::get_id());
}

TEST_F(SubstituteTest, theLongestRecordFitsAndALongerOneIsRefused) {
    const Connected connection{connect("/bpf/a")};
    const size_t fits = substitute::kMaxRecordBytes - 17;
    for (const size_t size : {fits, fits + 1}) {
        const auto record = substitute::fatalDataRecord(0, 0, 0, 0, std::string(size, 'x'));
        EXPECT_EQ(substitute::injectRecord("/bpf/a", {1, 0, record}), size == fits ? 0 : -EMSGSIZE);
    }
    EXPECT_EQ(takeArrivals(), std::vector<std::string>{"1 0 " + std::string(fits, 'x')});
}

TEST_F(SubstituteTest, aConnectionListensOnceAtATimeFromItsStartToItsEnd) {
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(substitute::injectRecord("/bpf/a", {}), -ECONNREFUSED);
        const Connected connection{connect("/bpf/a")};
        EXPECT_EQ(connect("/bpf/a"), -EADDRINUSE);
        EXPECT_EQ(substitute::injectRecord("/bpf/a", {}), 0);
    }
    EXPECT_EQ(substitute::injectDisconnect("/bpf/a"), -ECONNREFUSED);
    EXPECT_EQ(takeArrivals().size(), 2u);
}

}  // namespace
}  // namespace zstats
