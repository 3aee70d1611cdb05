#include <android-base/file.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "vdevice/common/OverlayPlan.h"

namespace zstats::vdevice {
namespace {

namespace fs = std::filesystem;
using Kind = OverlayStep::Kind;

/** A small kernel tree, and a profile's folder that each test fills. */
class OverlayPlanTest : public testing::Test {
  protected:
    void SetUp() override {
        for (const char* path : {"proc/meminfo", "proc/7/stat", "sys/class/wakeup/w0/name",
                                 "sys/class/net/lo", "sys/cpu/cpu0/online"}) {
            write(kernel() + "/" + path);
        }
        fs::create_directories(overlay());
    }

    void write(const std::string& path) {
        fs::create_directories(fs::path(path).parent_path());
        ASSERT_TRUE(android::base::WriteStringToFile("x", path));
    }
    void lay(const std::string& path) { write(overlay() + path); }
    std::string overlay() const { return mFolder.path + std::string("/root"); }
    std::string kernel() const { return mFolder.path + std::string("/kernel"); }

    std::vector<OverlayStep> plan() const {
        return planOverlay(overlay(), kernel(), "/.kernel", 3);
    }
    OverlayStep bind(const std::string& path) const {
        return {Kind::kBind, path, overlay() + path};
    }
    static OverlayStep link(const std::string& path) {
        return {Kind::kLink, path, "/.kernel" + path};
    }

    TemporaryDir mFolder;
};

TEST_F(OverlayPlanTest, nothingToShowNeedsNoStep) {
    EXPECT_TRUE(plan().empty());
}

TEST_F(OverlayPlanTest, filesOfTheKernelAreMountedOver) {
    lay("/proc/meminfo");
    lay("/sys/cpu/cpu0/online");
    EXPECT_EQ((std::vector<OverlayStep>{bind("/proc/meminfo"), bind("/sys/cpu/cpu0/online")}),
              plan());
}

TEST_F(OverlayPlanTest, aMissingNameReplacesOnlyTheFolderThatLacksIt) {
    lay("/sys/cpu/cpu0/cpuidle/state0/time");
    EXPECT_EQ((std::vector<OverlayStep>{{Kind::kTmpfs, "/sys/cpu/cpu0", ""},
                                        link("/sys/cpu/cpu0/online"),
                                        {Kind::kFolder, "/sys/cpu/cpu0/cpuidle", ""},
                                        bind("/sys/cpu/cpu0/cpuidle")}),
              plan());
}

TEST_F(OverlayPlanTest, foldersInsideAReplacedOneAreMadeAnew) {
    lay("/sys/cpu/cpu0/cpuidle/time");
    lay("/sys/cpu/cpu1/online");
    EXPECT_EQ((std::vector<OverlayStep>{{Kind::kTmpfs, "/sys/cpu", ""},
                                        {Kind::kFolder, "/sys/cpu/cpu0", ""},
                                        link("/sys/cpu/cpu0/online"),
                                        {Kind::kFolder, "/sys/cpu/cpu0/cpuidle", ""},
                                        bind("/sys/cpu/cpu0/cpuidle"),
                                        {Kind::kFolder, "/sys/cpu/cpu1", ""},
                                        bind("/sys/cpu/cpu1")}),
              plan());
}

TEST_F(OverlayPlanTest, aFolderOfAClassTakesTheKernelsPlaceAsAWhole) {
    lay("/sys/class/wakeup/w9/name");
    EXPECT_EQ(std::vector<OverlayStep>{bind("/sys/class/wakeup")}, plan());
}

TEST_F(OverlayPlanTest, aReplacedProcHasALinkForEachProcess) {
    lay("/proc/device-tree/chosen/atag,chipid");
    EXPECT_EQ((std::vector<OverlayStep>{{Kind::kTmpfs, "/proc", ""},
                                        link("/proc/meminfo"),
                                        link("/proc/1"),
                                        link("/proc/2"),
                                        link("/proc/3"),
                                        {Kind::kFolder, "/proc/device-tree", ""},
                                        bind("/proc/device-tree")}),
              plan());
}

TEST_F(OverlayPlanTest, aNameOfAnotherKindReplacesTheFolder) {
    lay("/sys/cpu/cpu0");
    EXPECT_EQ((std::vector<OverlayStep>{{Kind::kTmpfs, "/sys/cpu", ""},
                                        {Kind::kFile, "/sys/cpu/cpu0", ""},
                                        bind("/sys/cpu/cpu0")}),
              plan());
    fs::remove(overlay() + "/sys/cpu/cpu0");
    fs::create_symlink("../class", overlay() + "/sys/cpu/cpu0");
    EXPECT_EQ((OverlayStep{Kind::kLink, "/sys/cpu/cpu0", "../class"}), plan().at(1));
}

TEST_F(OverlayPlanTest, elsewhereFilesAreMadeWhereTheyBelong) {
    lay("/data/a/b");
    EXPECT_EQ((std::vector<OverlayStep>{{Kind::kFolder, "/data", ""},
                                        {Kind::kFolder, "/data/a", ""},
                                        {Kind::kFile, "/data/a/b", ""},
                                        bind("/data/a/b")}),
              plan());
}

}  // namespace
}  // namespace zstats::vdevice
