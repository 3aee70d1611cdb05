#include <android-base/file.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "vdevice/system/init/OverlayPlan.h"

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

TEST_F(OverlayPlanTest, showsTheProfilesFilesInTheKernelsTree) {
    const auto folder = [](const std::string& path) {
        return OverlayStep{Kind::kFolder, path, ""};
    };
    const auto tmpfs = [](const std::string& path) { return OverlayStep{Kind::kTmpfs, path, ""}; };
    const struct {
        const char* name;
        std::vector<std::string> files;
        std::vector<OverlayStep> steps;
    } kCases[] = {
            {"nothing", {}, {}},
            {"the kernel's files are mounted over",
             {"/proc/meminfo", "/sys/cpu/cpu0/online"},
             {bind("/proc/meminfo"), bind("/sys/cpu/cpu0/online")}},
            {"a missing name replaces only the folder that lacks it",
             {"/sys/cpu/cpu0/cpuidle/state0/time"},
             {tmpfs("/sys/cpu/cpu0"), link("/sys/cpu/cpu0/online"), folder("/sys/cpu/cpu0/cpuidle"),
              bind("/sys/cpu/cpu0/cpuidle")}},
            {"folders inside a replaced one are made anew",
             {"/sys/cpu/cpu0/cpuidle/time", "/sys/cpu/cpu1/online"},
             {tmpfs("/sys/cpu"), folder("/sys/cpu/cpu0"), link("/sys/cpu/cpu0/online"),
              folder("/sys/cpu/cpu0/cpuidle"), bind("/sys/cpu/cpu0/cpuidle"),
              folder("/sys/cpu/cpu1"), bind("/sys/cpu/cpu1")}},
            {"a class takes the kernel's place as a whole",
             {"/sys/class/wakeup/w9/name"},
             {bind("/sys/class/wakeup")}},
            {"a replaced /proc has a link for each process",
             {"/proc/device-tree/chosen/atag,chipid"},
             {tmpfs("/proc"), link("/proc/meminfo"), link("/proc/1"), link("/proc/2"),
              link("/proc/3"), folder("/proc/device-tree"), bind("/proc/device-tree")}},
            {"elsewhere files are made where they belong",
             {"/data/a/b"},
             {folder("/data"), folder("/data/a"), {Kind::kFile, "/data/a/b", ""}, bind("/data/a/b")}},
    };
    for (const auto& item : kCases) {
        fs::remove_all(overlay());
        fs::create_directories(overlay());
        for (const std::string& file : item.files) lay(file);
        EXPECT_EQ(plan(), item.steps) << item.name;
    }
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

}  // namespace
}  // namespace zstats::vdevice
