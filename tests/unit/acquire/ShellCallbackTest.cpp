#include <android-base/file.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <selinux/selinux.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <thread>

#include "acquire/Cmd.h"
#include "tests/support/OwnEntries.h"
#include "tests/unit/acquire/AcquireKit.h"

namespace {

/** SELinux's answers in this program. Disabled unless a test enables it. */
struct Policy {
    bool enabled = false;
    const char* granted = "";  // the permissions of the caller
    bool labelled = true;
    zstats::Lines calls = {};
};
Policy gPolicy;

}  // namespace

// Replace the library's functions in this program.
int is_selinux_enabled() {
    return gPolicy.enabled ? 1 : 0;
}

int getfilecon(const char* path, char** context) {
    gPolicy.calls.push_back(std::string("getfilecon ") + path);
    if (!gPolicy.labelled) return -1;
    *context = strdup("u:object_r:file:s0");
    return 19;
}

int selinux_check_access(const char* caller, const char* file, const char* type,
                         const char* permission, void* data) {
    EXPECT_EQ(data, nullptr);
    gPolicy.calls.push_back(std::string(caller) + " " + file + " " + type + " " + permission);
    return strstr(gPolicy.granted, permission) != nullptr ? 0 : -1;
}

void freecon(char* context) {
    gPolicy.calls.push_back(std::string("freecon ") + context);
    free(context);
}

namespace zstats {
namespace {

using android::sp;
using android::String16;

/** An error output that records the open descriptors at each line. */
class DescriptorWatch : public TextCapture {
  public:
    android::status_t print(const char* text, size_t length) override {
        atPrint = ownEntries("fd");
        return TextCapture::print(text, length);
    }

    std::set<int> atPrint;
};

/** A temporary current directory, with "old" in the file "there". */
class ShellCallbackTest : public testing::Test {
  protected:
    ShellCallbackTest() {
        std::filesystem::current_path(mDirectory.path);
        umask(0);
        fill();
    }
    ~ShellCallbackTest() override {
        std::filesystem::current_path(mBefore);
        gPolicy = {};
    }

    /** The result of openFile if negative, else 0 after closing the descriptor. */
    int open(const std::string& path, const std::string& mode, const std::string& context = "") {
        const int fd = mCallback->openFile(String16(path.c_str()), String16(context.c_str()),
                                           String16(mode.c_str()));
        if (fd >= 0) close(fd);
        return std::min(fd, 0);
    }

    static void fill() { EXPECT_TRUE(android::base::WriteStringToFile("old", "there")); }
    static std::string content() {
        std::string text;
        EXPECT_TRUE(android::base::ReadFileToString("there", &text));
        return text;
    }

    const std::filesystem::path mBefore = std::filesystem::current_path();
    const TemporaryDir mDirectory;
    DescriptorWatch mError;
    const sp<MyShellCallback> mCallback{new MyShellCallback(mError)};
};

TEST_F(ShellCallbackTest, OpensAsItsModeTells) {
    const struct {
        const char* mode;
        int access;
        const char* left;  // of a file that held "old"
        bool creates;
    } rows[] = {{"r", O_RDONLY, "old", false},
                {"r+", O_RDWR, "old", false},
                {"w", O_WRONLY, "", true},
                {"w+", O_RDWR, "", true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mode);
        fill();
        const int fd = mCallback->openFile(String16("there"), String16(), String16(row.mode));
        ASSERT_GE(fd, 0);
        EXPECT_EQ(fcntl(fd, F_GETFL) & (O_ACCMODE | O_APPEND), row.access);
        EXPECT_EQ(content(), row.left);
        close(fd);
        EXPECT_EQ(open("new", row.mode), row.creates ? 0 : -1);
        struct stat status {};
        EXPECT_EQ(stat("new", &status) == 0 ? status.st_mode & 07777 : 0, row.creates ? 0770U : 0U);
        unlink("new");
    }
    EXPECT_EQ(mError.take(), "");
}

TEST_F(ShellCallbackTest, SaysWhyItDoesNotOpen) {
    const std::string directory = std::filesystem::current_path();
    const std::string name = std::filesystem::path(directory).filename();
    std::filesystem::create_directory("proc");  // below the kernel's, no file can be created
    std::filesystem::copy_file("there", "proc/there");
    const std::tuple<std::string, std::string, int> rows[] = {{"there", "a", -EINVAL},
                                                              {"missing", "", -EINVAL},
                                                              {"there", "rw", -EINVAL},
                                                              {"there", "W", -EINVAL},
                                                              {"there", "w ", -EINVAL},
                                                              {"missing", "r", -1},
                                                              {"missing", "r+", -1},
                                                              {"no/such/directory", "w", -1},
                                                              {".", "w", -1},
                                                              {"/proc/there", "r", -1},
                                                              {"./no/../there", "r", -1},
                                                              {"", "r", 0},
                                                              {"./../" + name + "/there", "r", 0},
                                                              {directory + "/there", "r", 0}};
    for (const auto& [path, mode, result] : rows) {
        EXPECT_EQ(open(path, mode), result) << path;
        EXPECT_EQ(mError.take(), result == -EINVAL ? "Invalid mode requested: " + mode + "\n" : "");
    }
    EXPECT_EQ(content(), "old");
    std::filesystem::remove_all("proc");
}

TEST_F(ShellCallbackTest, ARefusalClosesTheFileThenSaysWhyThenFreesTheContext) {
    const std::string caller = "u:r:shell:s0";
    const std::string path = std::filesystem::current_path() / "there";
    const struct {
        const char* mode;
        const char* granted;
        Lines asked;
        std::string refused;  // empty: the file is opened
        bool labelled = true;
    } rows[] = {{"r", "read", {"read"}, ""},
                {"r", "write", {"read"}, "read"},
                {"w", "write", {"write"}, ""},
                {"w", "read", {"write"}, "write"},
                {"r+", "write", {"write", "read"}, "read"},
                {"r+", "read write", {"write", "read"}, ""},
                {"w+", "read write", {"write", "read"}, ""},
                {"w+", "read", {"write"}, "write"},
                {"w+", "", {"write"}, "write"},
                {"r", "", {"read"}, "read", false}};
    const std::set<int> before = ownEntries("fd");
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.mode) + " with " + row.granted);
        gPolicy = {true, row.granted, row.labelled};
        const std::string context = row.labelled ? "u:object_r:file:s0" : "";
        Lines calls = {"getfilecon " + path};
        for (const std::string& permission : row.asked) {
            calls.push_back(caller + " " + context + " file " + permission);
        }
        if (row.labelled) calls.push_back("freecon " + context);
        std::string line;
        if (!row.refused.empty()) {
            line = "System server has no access to " + row.refused + " file context " + context +
                   " (from path " + path + ", context " + caller + ")\n";
        }
        mError.atPrint = before;
        EXPECT_EQ(open("there", row.mode, caller), line.empty() ? 0 : -1);
        EXPECT_EQ(gPolicy.calls, calls);
        EXPECT_EQ(mError.take(), line);
        EXPECT_EQ(mError.atPrint, before) << "the file was open while the line was written";
        EXPECT_EQ(ownEntries("fd"), before);
    }
    // No question without SELinux, without a context, or for a file that cannot be opened.
    const std::tuple<bool, const char*, std::string, int, size_t> unasked[] = {
            {false, "there", caller, 0, 0},
            {true, "there", "", 0, 0},
            {true, "missing", caller, -1, 0},
            {true, "there", "u", 0, 3}};
    for (const auto& [enabled, file, context, result, calls] : unasked) {
        gPolicy = {enabled, "read"};
        EXPECT_EQ(open(file, "r", context), result);
        EXPECT_EQ(gPolicy.calls.size(), calls);
    }
}

/** A run from the command's side: during its call, until its result, and after it. */
TEST_F(ShellCallbackTest, ServesACommandOnlyDuringItsCall) {
    sp<android::IShellCallback> kept;
    const auto openKept = [&](const char* path, const char* mode) {
        return kept->openFile(String16(path), String16(), String16(mode));
    };
    std::thread command;
    publishCommand("opener", [&](const ShellCall& call) {
        kept = call.callback;
        const int fd = openKept("there", "r");
        EXPECT_GE(fd, 0);
        close(fd);
        EXPECT_EQ(openKept("there", "a"), -EINVAL);
        // Sends its result when it is refused, which happens after its call.
        command = std::thread([&, receiver = call.receiver] {
            for (int fd; (fd = openKept("there", "r")) >= 0;) close(fd);
            receiver->send(0);
        });
        return android::OK;
    });
    TextCapture output;
    EXPECT_EQ(cmdMain({"opener"}, output, mError, 0, 1, 2, RunMode::kLibrary), 0);
    command.join();
    EXPECT_EQ(openKept("there", "w"), -1);
    EXPECT_EQ(openKept("/etc/passwd", "a"), -1);
    EXPECT_EQ(content(), "old");
    const std::string refused = "Open attempt after active for: ";
    const std::string there = refused + std::filesystem::current_path().string() + "/there\n";
    EXPECT_EQ(mError.take(),
              "Invalid mode requested: a\n" + there + there + refused + "/etc/passwd\n");

    // A failed call ends the run without a result.
    publishCommand("failing", [&](const ShellCall& call) {
        kept = call.callback;
        return android::UNKNOWN_ERROR;
    });
    EXPECT_EQ(cmdMain({"failing"}, output, mError, 0, 1, 2, RunMode::kLibrary),
              android::UNKNOWN_ERROR);
    const int fd = openKept("there", "r");
    EXPECT_GE(fd, 0);
    close(fd);
    inprocess::reset();
}

}  // namespace
}  // namespace zstats
