#include <android-base/file.h>
#include <android-base/properties.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "host/properties/PropertyStore.h"
#include "tests/support/LogCapture.h"

namespace zstats::properties {
namespace {

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

TEST_F(PropertyTest, wakesThoseThatWaitForAValue) {
    using android::base::WaitForProperty;
    EXPECT_FALSE(WaitForProperty("y", "2", std::chrono::milliseconds(5)));
    std::thread waiter([] { EXPECT_TRUE(WaitForProperty("y", "2", std::chrono::minutes(1))); });
    for (const char* value : {"0", "1", "2"}) {
        EXPECT_EQ(property_set("x", value), 0);
        EXPECT_EQ(property_set("y", value), 0);
    }
    waiter.join();
    EXPECT_FALSE(WaitForProperty("y", "3", std::chrono::milliseconds(5)));
}

TEST_F(PropertyTest, refusesWhatDoesNotFitAndSaysSo) {
    LogCapture log;
    EXPECT_TRUE(SetProperty(std::string(127, 'n'), std::string(91, 'v')));
    EXPECT_EQ(GetProperty(std::string(127, 'n'), ""), std::string(91, 'v'));
    EXPECT_FALSE(SetProperty(std::string(128, 'n'), "v"));
    EXPECT_FALSE(SetProperty("n", std::string(92, 'v')));
    EXPECT_FALSE(SetProperty("", "v"));
    const Lines lines = {"E cannot set \"" + std::string(128, 'n') + "\" to \"v\": Invalid argument",
                         "E cannot set \"n\" to \"" + std::string(92, 'v') + "\": Invalid argument",
                         "E cannot set \"\" to \"v\": Invalid argument"};
    EXPECT_EQ(log.take("properties"), lines);
}

TEST_F(PropertyTest, handsControlWritesOnInsteadOfStoringThem) {
    LogCapture log;
    EXPECT_EQ(property_set("ctl.stop", "service"), -1);
    EXPECT_EQ(log.take("properties"),
              Lines{"E cannot set \"ctl.stop\" to \"service\": Function not implemented"});
    std::string taken;
    setControlHandler([&](const std::string& name, const std::string& value) {
        // A handler may use properties.
        EXPECT_TRUE(SetProperty("ctlx", "plain"));
        taken += name + "=" + value + ";";
    });
    EXPECT_EQ(property_set("ctl.stop", "service"), 0);
    EXPECT_EQ(taken, "ctl.stop=service;");
    EXPECT_EQ(__system_property_find("ctl.stop"), nullptr);
}

TEST_F(PropertyTest, neverShowsAMixtureOfTwoValues) {
    const std::string values[] = {std::string(91, 'a'), std::string(40, 'b'), "c"};
    ASSERT_TRUE(SetProperty("x", values[0]));
    std::atomic<bool> done{false};
    std::thread reader([&] {
        do {
            const std::string value = GetProperty("x", "");
            EXPECT_EQ(std::count(std::begin(values), std::end(values), value), 1) << value;
        } while (!done);
    });
    for (int i = 0; i < 20000; ++i) SetProperty("x", values[i % 3]);
    // New entries are visible to the reader.
    for (int i = 0; i < 100; ++i) SetProperty("new." + std::to_string(i), "v");
    done = true;
    reader.join();
}

/** Tests of an area in a file. */
class PropertyFileTest : public testing::Test {
  protected:
    ~PropertyFileTest() override { unlink(mPath.c_str()); }

    TemporaryDir mDir;
    const std::string mPath = std::string(mDir.path) + "/file";
};

TEST_F(PropertyFileTest, holdsAnAreaThatReadersCannotChange) {
    const std::unique_ptr<PropertyArea> writer = PropertyArea::create(mPath);
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(writer->set("a", "1"), 0);
    const std::unique_ptr<PropertyArea> reader = PropertyArea::map(mPath);
    ASSERT_NE(reader, nullptr);
    const prop_info* entry = reader->find("a");
    ASSERT_NE(entry, nullptr);
    char value[PROP_VALUE_MAX];
    const uint32_t serial = PropertyArea::read(*entry, value);
    EXPECT_EQ(writer->set("a", "2"), 0);
    EXPECT_EQ(writer->set("b", "3"), 0);
    EXPECT_NE(PropertyArea::read(*entry, value), serial);
    std::string all = value;
    reader->forEach([&](const prop_info& each) {
        PropertyArea::read(each, value);
        all = all + ";" + each.name + "=" + value;
    });
    EXPECT_EQ(all, "2;a=2;b=3");
    EXPECT_EQ(reader->set("a", "4"), -EROFS);
}

TEST_F(PropertyFileTest, isNotMappedWhenItIsNoArea) {
    EXPECT_EQ(PropertyArea::map(mPath), nullptr);
    EXPECT_EQ(errno, ENOENT);
    ASSERT_NE(PropertyArea::create(mPath), nullptr);
    struct stat info = {};
    ASSERT_EQ(stat(mPath.c_str(), &info), 0);
    for (off_t size : {info.st_size, info.st_size - 1, off_t{0}}) {
        ASSERT_TRUE(android::base::WriteStringToFile(std::string(size, 'x'), mPath));
        EXPECT_EQ(PropertyArea::map(mPath), nullptr);
        EXPECT_EQ(errno, EINVAL);
    }
}

TEST(PropertyAreaTest, hasRoomForItsCapacity) {
    const std::unique_ptr<PropertyArea> area = PropertyArea::createInMemory();
    for (size_t i = 0; i < PropertyArea::kCapacity; ++i) {
        ASSERT_EQ(area->set("n" + std::to_string(i), "v"), 0);
    }
    EXPECT_EQ(area->set("one.more", "v"), -ENOSPC);
    EXPECT_EQ(area->set("n7", "changed"), 0);
    EXPECT_NE(area->find("n1023"), nullptr);
}

}  // namespace
}  // namespace zstats::properties
