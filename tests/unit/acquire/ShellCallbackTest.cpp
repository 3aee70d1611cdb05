#include <android-base/file.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <selinux/selinux.h>
#include <unistd.h>

#include <cstring>
#include <functional>

#include "acquire/Cmd.h"
#include "tests/unit/acquire/AcquireKit.h"

namespace {

/** What SELinux answers in this program. Off unless a test says otherwise. */
struct Policy {
    bool enabled = false;
    std::string granted;  // the one permission that a caller has
    std::vector<std::string> calls;
};
Policy gPolicy;

}  // namespace

// These take the place of the library's functions in this program.
int is_selinux_enabled() {
    return gPolicy.enabled ? 1 : 0;
}

int getfilecon(const char* path, char** context) {
    gPolicy.calls.push_back(std::string("getfilecon ") + path);
    *context = strdup("u:object_r:file:s0");
    return 19;
}

int selinux_check_access(const char* caller, const char* file, const char* type,
                         const char* permission, void* data) {
    EXPECT_EQ(data, nullptr);
    gPolicy.calls.push_back(std::string(caller) + " " + file + " " + type + " " + permission);
    return gPolicy.granted == permission ? 0 : -1;
}

void freecon(char* context) {
    gPolicy.calls.push_back(std::string("freecon ") + context);
    free(context);
}

namespace zstats {
namespace {

using android::String16;

/** An error output that notes which descriptors are open when a line arrives. */
class DescriptorWatch : public TextCapture {
  public:
    android::status_t print(const char* text, size_t length) override {
        atPrint = ownEntries("fd");
        return TextCapture::print(text, length);
    }

    std::set<int> atPrint;
};

class ShellCallbackTest : public testing::Test {
  protected:
    ShellCallbackTest() { gPolicy = {true, "", {}}; }
    ~ShellCallbackTest() override { gPolicy = {}; }
};

TEST_F(ShellCallbackTest, aRefusalClosesTheFileThenSaysWhyThenFreesTheContext) {
    const std::string access = "u:r:shell:s0 u:object_r:file:s0 file ";
    const struct {
        const char* mode;
        const char* granted;
        std::vector<std::string> asked;
        const char* refused;  // null: the file is opened
    } cases[] = {{"r", "read", {"read"}, nullptr},
                 {"r", "write", {"read"}, "read"},
                 {"w", "write", {"write"}, nullptr},
                 {"w", "read", {"write"}, "write"},
                 {"r+", "write", {"write", "read"}, "read"},
                 {"w+", "read", {"write"}, "write"},
                 {"w+", "", {"write"}, "write"}};
    for (const auto& row : cases) {
        SCOPED_TRACE(std::string(row.mode) + " with " + row.granted);
        const TemporaryFile file;
        gPolicy = {true, row.granted, {}};
        DescriptorWatch error;
        const android::sp<MyShellCallback> callback(new MyShellCallback(error));
        const std::set<int> before = ownEntries("fd");
        const int fd = callback->openFile(String16(file.path), String16("u:r:shell:s0"),
                                          String16(row.mode));
        std::vector<std::string> calls = {std::string("getfilecon ") + file.path};
        for (const std::string& permission : row.asked) calls.push_back(access + permission);
        calls.emplace_back("freecon u:object_r:file:s0");
        EXPECT_EQ(gPolicy.calls, calls);
        if (row.refused == nullptr) {
            EXPECT_GE(fd, 0);
            EXPECT_EQ(error.text(), "");
            close(fd);
            continue;
        }
        EXPECT_EQ(fd, -1);
        EXPECT_EQ(error.text(), std::string("System server has no access to ") + row.refused +
                                        " file context u:object_r:file:s0 (from path " + file.path +
                                        ", context u:r:shell:s0)\n");
        EXPECT_EQ(error.atPrint, before) << "the file was open while the line was written";
        EXPECT_EQ(ownEntries("fd"), before);
    }
}

TEST_F(ShellCallbackTest, asksNobodyWithoutSelinuxOrAContext) {
    const TemporaryFile file;
    TextCapture error;
    const android::sp<MyShellCallback> callback(new MyShellCallback(error));
    for (const auto& [enabled, context] : {std::pair(false, "u:r:shell:s0"), {true, ""}}) {
        gPolicy = {enabled, "", {}};
        const int fd = callback->openFile(String16(file.path), String16(context), String16("r"));
        EXPECT_GE(fd, 0);
        close(fd);
        EXPECT_TRUE(gPolicy.calls.empty());
    }
    EXPECT_EQ(error.text(), "");
}

}  // namespace
}  // namespace zstats
