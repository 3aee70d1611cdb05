#include <binder/Parcel.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "acquire/Cmd.h"
#include "host/inprocess/InProcessBinder.h"
#include "tests/unit/acquire/AcquireKit.h"

using android::IBinder;
using android::Parcel;
using android::sp;
using android::String16;

namespace zstats {
namespace {

String16 text16(const std::string& text) {
    return String16(text.c_str());
}

/** openFile as the remote side calls it. The descriptor, -1 when there is none in the reply. */
int openRemotely(const sp<IBinder>& callback, const std::string& path, const std::string& mode) {
    Parcel request;
    Parcel reply;
    request.writeInterfaceToken(String16("com.android.internal.os.IShellCallback"));
    request.writeString16(text16(path));
    request.writeString16(String16());
    request.writeString16(text16(mode));
    EXPECT_EQ(callback->transact(1, request, &reply), android::OK);
    EXPECT_EQ(reply.readInt32(), 0) << "exception";
    if (reply.readInt32() == 0) {
        EXPECT_EQ(reply.dataAvail(), 0U);
        return -1;
    }
    EXPECT_EQ(reply.readInt32(), 0) << "status channel";
    return dup(reply.readFileDescriptor());
}

/** A scratch directory that is the current one while a test runs. */
class OpenFileTest : public testing::Test {
  protected:
    OpenFileTest() {
        char name[] = "/tmp/openfile.XXXXXX";
        mDirectory = std::filesystem::canonical(mkdtemp(name)).string();
        mBefore = std::filesystem::current_path();
        std::filesystem::current_path(mDirectory);
        umask(0);
    }
    ~OpenFileTest() override {
        std::filesystem::current_path(mBefore);
        std::filesystem::remove_all(mDirectory);
    }

    int open(const std::string& path, const std::string& mode) {
        return mCallback->openFile(text16(path), String16(), text16(mode));
    }

    static void fill(const std::string& path, const std::string& text) {
        std::ofstream(path) << text;
    }
    static std::string content(const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    std::string mDirectory;
    std::filesystem::path mBefore;
    TextCapture mError;
    const sp<MyShellCallback> mCallback{new MyShellCallback(mError)};
};

TEST_F(OpenFileTest, OpensAsItsModeTells) {
    struct {
        const char* mode;
        int access;
        const char* left;  // of a file with "old" in it
        bool creates;
    } const rows[] = {
            {"r", O_RDONLY, "old", false},
            {"r+", O_RDWR, "old", false},
            {"w", O_WRONLY, "", true},
            {"w+", O_RDWR, "", true},
    };
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

TEST_F(OpenFileTest, RefusesOtherModes) {
    std::string lines;
    fill("there", "old");
    for (const char* mode : {"a", "", "rw", "wr", "R", "w ", "r+b"}) {
        EXPECT_EQ(open("there", mode), -EINVAL) << mode;
        EXPECT_EQ(open("missing", mode), -EINVAL) << mode;
        const std::string line = std::string("Invalid mode requested: ") + mode + "\n";
        lines += line + line;
    }
    EXPECT_EQ(mError.text(), lines);
    EXPECT_EQ(content("there"), "old");
}

TEST_F(OpenFileTest, AnswersWhatDoesNotExistWithMinusOne) {
    EXPECT_EQ(open("missing", "r"), -1);
    EXPECT_EQ(open("missing", "r+"), -1);
    EXPECT_EQ(open("no/such/directory", "w"), -1);
    EXPECT_EQ(open(".", "w"), -1);
    EXPECT_EQ(mError.text(), "");
}

TEST_F(OpenFileTest, SeesPathsFromTheCurrentDirectory) {
    std::filesystem::create_directory("sub");
    fill("sub/file", "relative");
    struct {
        std::string path;
        bool opens;
    } const rows[] = {{"sub/file", true},
                      {"./sub/../sub/file", true},
                      {mDirectory + "/sub/file", true},
                      {"/sub/file", false},
                      {"", true},
                      {"..", true}};
    for (const auto& row : rows) {
        const int fd = open(row.path, "r");
        EXPECT_EQ(fd >= 0, row.opens) << row.path;
        if (fd >= 0) close(fd);
    }
}

TEST_F(OpenFileTest, RefusesEverythingOnceTheCallHasReturned) {
    fill("there", "old");
    mCallback->deactivate();
    EXPECT_EQ(open("there", "w"), -EPERM);
    EXPECT_EQ(open("/etc/passwd", "r"), -EPERM);
    EXPECT_EQ(open("there", "a"), -EPERM);
    EXPECT_EQ(content("there"), "old");
    EXPECT_EQ(mError.text(), "Open attempt after active for: " + mDirectory +
                                     "/there\nOpen attempt after active for: /etc/passwd\n"
                                     "Open attempt after active for: " +
                                     mDirectory + "/there\n");
}

/** The life of a run as the command sees it: during its call, between call and result, after. */
TEST_F(OpenFileTest, ServesACommandOnlyDuringItsCall) {
    fill("there", "old");
    sp<IBinder> kept;
    sp<android::IResultReceiver> receiver;
    std::vector<int> during;
    const auto remote =
            inprocess::publish("opener", sp<IBinder>(new FakeCommand([&](const ShellCall& call) {
                                   kept = call.callback;
                                   for (const char* mode : {"r", "w+", "a"}) {
                                       during.push_back(openRemotely(kept, "there", mode));
                                   }
                                   call.receiver->send(0);
                                   return android::OK;
                               })));
    TextCapture output;
    EXPECT_EQ(cmdMain({"opener"}, output, mError, 0, 1, 2, RunMode::kLibrary), 0);
    ASSERT_EQ(during.size(), 3U);
    EXPECT_GE(during[0], 0);
    EXPECT_GE(during[1], 0);
    EXPECT_EQ(during[2], -1);
    EXPECT_EQ(openRemotely(kept, "there", "r"), -1);
    EXPECT_EQ(mError.text(), "Invalid mode requested: a\nOpen attempt after active for: " +
                                     mDirectory + "/there\n");
    close(during[0]);
    close(during[1]);
}

}  // namespace
}  // namespace zstats
