#include <android-base/file.h>
#include <android-base/properties.h>
#include <android-base/unique_fd.h>
#include <cutils/properties.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>
#include <utility>
#include <vector>

#include "host/properties/PropertyStore.h"
#include "tests/support/LogCapture.h"

namespace zstats::properties {
namespace {

using android::base::GetBoolProperty;
using android::base::GetIntProperty;
using android::base::GetProperty;
using android::base::SetProperty;

class PropertyTest : public testing::Test {
  protected:
    void SetUp() override { clearProperties(); }
    void TearDown() override {
        setControlHandler(nullptr);
        clearProperties();
    }
};

std::string cutilsGet(const char* key, const char* defaultValue) {
    char value[PROPERTY_VALUE_MAX];
    const int length = property_get(key, value, defaultValue);
    EXPECT_EQ(static_cast<size_t>(length), strlen(value));
    return value;
}

TEST_F(PropertyTest, isOneStoreForEveryInterface) {
    EXPECT_EQ(__system_property_find("a.b"), nullptr);
    EXPECT_EQ(property_set("a.b", "one"), 0);
    EXPECT_EQ(GetProperty("a.b", "no"), "one");
    EXPECT_TRUE(SetProperty("a.b", "two"));
    EXPECT_EQ(cutilsGet("a.b", "no"), "two");
    std::pair<std::string, std::string> seen;
    __system_property_read_callback(
            __system_property_find("a.b"),
            [](void* cookie, const char* name, const char* value, uint32_t) {
                *static_cast<std::pair<std::string, std::string>*>(cookie) = {name, value};
            },
            &seen);
    EXPECT_EQ(seen, std::make_pair(std::string("a.b"), std::string("two")));
}

TEST_F(PropertyTest, givesTheDefaultForAnEmptyPropertyAsForAnAbsentOne) {
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(GetProperty("x", "default"), "default");
        EXPECT_EQ(cutilsGet("x", "default"), "default");
        EXPECT_EQ(cutilsGet("x", nullptr), "");
        EXPECT_EQ(cutilsGet("x", std::string(200, 'd').c_str()), std::string(91, 'd'));
        EXPECT_EQ(__system_property_find("x") != nullptr, round == 1);
        EXPECT_EQ(property_set("x", ""), 0);
    }
}

TEST_F(PropertyTest, readsBoolsAndNumbers) {
    struct {
        const char* value;
        bool orTrue, orFalse;  // GetBoolProperty with each default
        int32_t base;          // GetIntProperty, default -1
        int32_t cutils;        // property_get_int32, default -1
    } const cases[] = {
            {"1", true, true, 1, 1},
            {"y", true, true, -1, -1},
            {"on", true, true, -1, -1},
            {"true", true, true, -1, -1},
            {"0", false, false, 0, 0},
            {"off", false, false, -1, -1},
            {"no", false, false, -1, -1},
            {"TRUE", true, false, -1, -1},
            {"2", true, false, 2, 2},
            {"", true, false, -1, -1},
            {"0x10", true, false, 16, 16},
            {"12ms", true, false, -1, 12},
            {"2147483648", true, false, -1, -1},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.value);
        ASSERT_TRUE(SetProperty("x", row.value));
        EXPECT_EQ(GetBoolProperty("x", true), row.orTrue);
        EXPECT_EQ(GetBoolProperty("x", false), row.orFalse);
        EXPECT_EQ(property_get_bool("x", 1), row.orTrue ? 1 : 0);
        EXPECT_EQ(GetIntProperty<int32_t>("x", -1), row.base);
        EXPECT_EQ(property_get_int32("x", -1), row.cutils);
    }
}

TEST_F(PropertyTest, refusesWhatDoesNotFitAndSaysSo) {
    LogCapture log;
    EXPECT_TRUE(SetProperty(std::string(127, 'n'), std::string(91, 'v')));
    EXPECT_EQ(GetProperty(std::string(127, 'n'), ""), std::string(91, 'v'));
    EXPECT_FALSE(SetProperty(std::string(128, 'n'), "v"));
    EXPECT_FALSE(SetProperty("n", std::string(92, 'v')));
    EXPECT_FALSE(SetProperty("", "v"));
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "cannot set"), 3u);
}

TEST_F(PropertyTest, handsControlWritesOnInsteadOfStoringThem) {
    LogCapture log;
    EXPECT_EQ(property_set("ctl.stop", "service"), -1);
    EXPECT_TRUE(log.contains(ANDROID_LOG_ERROR, "\"ctl.stop\" to \"service\""));
    std::vector<std::pair<std::string, std::string>> taken;
    setControlHandler([&](const std::string& name, const std::string& value) {
        // A handler may well use properties itself.
        EXPECT_TRUE(SetProperty("handled", "1"));
        taken.emplace_back(name, value);
    });
    EXPECT_EQ(property_set("ctl.stop", "service"), 0);
    EXPECT_EQ(taken, (decltype(taken){{"ctl.stop", "service"}}));
    EXPECT_EQ(__system_property_find("ctl.stop"), nullptr);
    EXPECT_TRUE(SetProperty("ctlx", "plain"));
    EXPECT_EQ(taken.size(), 1u);
}

TEST_F(PropertyTest, neverShowsAMixtureOfTwoValues) {
    const std::string values[] = {std::string(91, 'a'), std::string(40, 'b'), "c"};
    ASSERT_TRUE(SetProperty("x", values[0]));
    std::atomic<bool> done{false};
    std::atomic<int> reads{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i) {
        readers.emplace_back([&] {
            do {
                const std::string value = GetProperty("x", "");
                EXPECT_EQ(std::count(std::begin(values), std::end(values), value), 1) << value;
                ++reads;
            } while (!done);
        });
    }
    for (int i = 0; i < 20000; ++i) SetProperty("x", values[i % 3]);
    // New entries appear beside the readers too.
    for (int i = 0; i < 100; ++i) SetProperty("new." + std::to_string(i), "v");
    done = true;
    for (std::thread& reader : readers) reader.join();
    EXPECT_GE(reads, 2);
}

TEST(PropertyAreaTest, isSharedThroughAFileThatReadersCannotChange) {
    TemporaryDir dir;
    const std::string path = std::string(dir.path) + "/area";
    std::unique_ptr<PropertyArea> writer = PropertyArea::create(path);
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(writer->set("a", "1"), 0);
    std::unique_ptr<PropertyArea> reader = PropertyArea::map(path);
    ASSERT_NE(reader, nullptr);
    const prop_info* entry = reader->find("a");
    ASSERT_NE(entry, nullptr);
    char value[PROP_VALUE_MAX];
    const uint32_t serial = PropertyArea::read(*entry, value);
    EXPECT_EQ(writer->set("a", "2"), 0);
    EXPECT_EQ(writer->set("b", "3"), 0);
    EXPECT_NE(PropertyArea::read(*entry, value), serial);
    EXPECT_STREQ(value, "2");
    std::string all;
    reader->forEach([&](const char* name, const char* text) {
        all += std::string(name) + "=" + text + ";";
    });
    EXPECT_EQ(all, "a=2;b=3;");
    EXPECT_EQ(reader->set("a", "4"), -EROFS);
    unlink(path.c_str());
}

TEST(PropertyAreaTest, refusesToMapWhatIsNoArea) {
    TemporaryDir dir;
    const std::string path = std::string(dir.path) + "/area";
    EXPECT_EQ(PropertyArea::map(path), nullptr);
    EXPECT_EQ(errno, ENOENT);
    ASSERT_NE(PropertyArea::create(path), nullptr);
    struct stat info = {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    for (off_t size : {info.st_size, info.st_size - 1, off_t{0}}) {
        ASSERT_TRUE(android::base::WriteStringToFile(std::string(size, 'x'), path));
        EXPECT_EQ(PropertyArea::map(path), nullptr);
        EXPECT_EQ(errno, EINVAL);
    }
    unlink(path.c_str());
}

TEST(PropertyAreaTest, hasRoomForItsCapacity) {
    std::unique_ptr<PropertyArea> area = PropertyArea::createInMemory();
    for (size_t i = 0; i < PropertyArea::kCapacity; ++i) {
        ASSERT_EQ(area->set("n" + std::to_string(i), "v"), 0);
    }
    EXPECT_EQ(area->set("one.more", "v"), -ENOSPC);
    EXPECT_EQ(area->set("n7", "changed"), 0);
    EXPECT_NE(area->find("n1023"), nullptr);
}

/** Reads a request of which these bytes are all that a client sends. */
bool readFrom(const std::string& bytes, PropertyRequest* request) {
    int fds[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
    const android::base::unique_fd reader(fds[1]);
    android::base::unique_fd writer(fds[0]);
    EXPECT_TRUE(android::base::WriteFully(writer.get(), bytes.data(), bytes.size()));
    writer.reset();
    return readPropertyRequest(reader.get(), request);
}

const std::string kWireRequest("\x01\0\x02\0\x08\0\0\0ctl.stop\x03\0\0\0abc", 23);

TEST(PropertyProtocolTest, readsTheDevicesWireFormAlone) {
    struct Case {
        std::string wire;
        bool readable;
    };
    std::vector<Case> cases = {{kWireRequest, true}};
    for (size_t size = 0; size < kWireRequest.size(); ++size) {
        cases.push_back({kWireRequest.substr(0, size), false});
    }
    const std::pair<size_t, std::string> faults[] = {
            {0, std::string("\x01\0\0\0", 4)},        // the old command
            {4, std::string("\xff\xff\xff\xff", 4)},  // a huge name
            {16, std::string("\x01\x10\0\0", 4)},     // a huge value
    };
    for (const auto& [offset, bytes] : faults) {
        std::string wire = kWireRequest + std::string(5000, 'x');
        cases.push_back({wire.replace(offset, bytes.size(), bytes), false});
    }
    for (const Case& row : cases) {
        SCOPED_TRACE(row.wire.size());
        PropertyRequest request;
        EXPECT_EQ(readFrom(row.wire, &request), row.readable);
        if (!row.readable) continue;
        EXPECT_EQ(request.name, "ctl.stop");
        EXPECT_EQ(request.value, "abc");
    }
}

TEST(PropertyRequestTest, sendsTheDevicesWireFormAndReturnsTheAnswer) {
    TemporaryDir dir;
    const std::string path = std::string(dir.path) + "/property_service";
    EXPECT_EQ(requestProperty(path, {"ctl.stop", "abc"}), -ENOENT);
    android::base::unique_fd listener(socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(listener.get(), 4), 0);
    std::string wire(kWireRequest.size(), '\0');
    std::thread init([&] {
        for (int32_t answer : {0, 24}) {
            android::base::unique_fd client(accept(listener.get(), nullptr, nullptr));
            EXPECT_TRUE(android::base::ReadFully(client.get(), wire.data(), wire.size()));
            EXPECT_TRUE(sendPropertyResult(client.get(), answer));
        }
        // One that hangs up without an answer, as when init dies.
        close(accept(listener.get(), nullptr, nullptr));
    });
    EXPECT_EQ(requestProperty(path, {"ctl.stop", "abc"}), 0);
    EXPECT_EQ(requestProperty(path, {"ctl.stop", "abc"}), 24);
    EXPECT_LT(requestProperty(path, {"ctl.stop", "abc"}), 0);
    init.join();
    EXPECT_EQ(wire, kWireRequest);
    unlink(path.c_str());
}

}  // namespace
}  // namespace zstats::properties
