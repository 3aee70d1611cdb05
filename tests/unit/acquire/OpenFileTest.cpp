#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "acquire/Cmd.h"
#include "host/inprocess/InProcessBinder.h"
#include "tests/unit/acquire/AcquireKit.h"

using android::sp;
using android::String16;
using android::base::unique_fd;

namespace zstats {
namespace {

/** A scratch directory that is the current one while a test runs. */
class OpenFileTest : public testing::Test {
  protected:
    OpenFileTest() {
        std::filesystem::current_path(mDirectory.path);
        umask(0);
    }
    ~OpenFileTest() override { std::filesystem::current_path(mBefore); }

    int open(const std::string& path, const std::string& mode) {
        return mCallback->openFile(String16(path.c_str()), String16(), String16(mode.c_str()));
    }

    static void fill(const std::string& path, const std::string& text) {
        EXPECT_TRUE(android::base::WriteStringToFile(text, path));
    }
    static std::string content(const std::string& path) {
        std::string text;
        EXPECT_TRUE(android::base::ReadFileToString(path, &text));
        return text;
    }

    const std::filesystem::path mBefore = std::filesystem::current_path();
    const TemporaryDir mDirectory;
    TextCapture mError;
    const sp<MyShellCallback> mCallback{new MyShellCallback(mError)};
};

TEST_F(OpenFileTest, OpensAsItsModeTells) {
    struct {
        const char* mode;
        int access;
        const char* left;  // of a file with "old" in it
        bool creates;
    } const rows[] = {{"r", O_RDONLY, "old", false},
                      {"r+", O_RDWR, "old", false},
                      {"w", O_WRONLY, "", true},
                      {"w+", O_RDWR, "", true}};
    for (const auto& row : rows) {
        fill("there", "old");
        const int fd = open("there", row.mode);
        ASSERT_GE(fd, 0) << row.mode;
        EXPECT_EQ(fcntl(fd, F_GETFL) & (O_ACCMODE | O_APPEND), row.access) << row.mode;
        EXPECT_EQ(content("there"), row.left) << row.mode;
        close(fd);

        const int created = open("new", row.mode);
        EXPECT_EQ(created >= 0, row.creates) << row.mode;
        if (!row.creates) continue;
        struct stat status {};
        fstat(created, &status);
        EXPECT_EQ(status.st_mode & 07777, 0770U);
        close(created);
        unlink("new");
    }
    EXPECT_EQ(mError.text(), "");
}

TEST_F(OpenFileTest, SaysWhyItDoesNotOpen) {
    constexpr int kOpens = 0;
    const std::filesystem::path directory(mDirectory.path);
    fill("there", "old");
    struct {
        std::string path;
        const char* mode;
        int result;
    } const rows[] = {{"there", "a", -EINVAL},
                      {"missing", "", -EINVAL},
                      {"there", "rw", -EINVAL},
                      {"there", "W", -EINVAL},
                      {"there", "w ", -EINVAL},
                      {"missing", "r", -1},
                      {"missing", "r+", -1},
                      {"no/such/directory", "w", -1},
                      {".", "w", -1},
                      {"/there", "r", -1},
                      {"", "r", kOpens},
                      {"./no/../there", "r", -1},
                      {"./../" + directory.filename().string() + "/there", "r", kOpens},
                      {directory.string() + "/there", "r", kOpens}};
    std::string lines;
    for (const auto& row : rows) {
        const int fd = open(row.path, row.mode);
        EXPECT_EQ(std::min(fd, kOpens), row.result) << row.path;
        if (fd >= 0) close(fd);
        if (row.result == -EINVAL)
            lines += std::string("Invalid mode requested: ") + row.mode + "\n";
    }
    EXPECT_EQ(mError.text(), lines);
    EXPECT_EQ(content("there"), "old");
}

/** The life of a run as the command sees it: during its call, between call and result, after. */
TEST_F(OpenFileTest, ServesACommandOnlyDuringItsCall) {
    fill("there", "old");
    sp<android::IShellCallback> kept;
    const auto openKept = [&](const char* path, const char* mode) {
        return kept->openFile(String16(path), String16(), String16(mode));
    };
    publishCommand("opener", [&](const ShellCall& call) {
        kept = android::interface_cast<android::IShellCallback>(call.callback);
        EXPECT_TRUE(unique_fd(openKept("there", "r")).ok());
        EXPECT_EQ(openKept("there", "a"), -EINVAL);
        return FakeCommand::answer(call);
    });
    TextCapture output;
    EXPECT_EQ(cmdMain({"opener"}, output, mError, 0, 1, 2, RunMode::kLibrary), 0);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(openKept("there", "w"), -EPERM);
    EXPECT_EQ(openKept("/etc/passwd", "a"), -EPERM);
    EXPECT_EQ(content("there"), "old");
    EXPECT_EQ(mError.text(), "Invalid mode requested: a\nOpen attempt after active for: " +
                                     std::filesystem::current_path().string() +
                                     "/there\nOpen attempt after active for: /etc/passwd\n");
    inprocess::reset();
}

}  // namespace
}  // namespace zstats
