// A shell command that has its caller open files for it. The result is 0 when the file was opened
// or labelled, 1 when not, 2 for wrong arguments.

#include <android-base/unique_fd.h>
#include <binder/Binder.h>
#include <binder/IResultReceiver.h>
#include <binder/Parcel.h>
#include <fcntl.h>
#include <selinux/selinux.h>
#include <unistd.h>
#include <utils/String8.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "cli/lib/CommandLine.h"
#include "vdevice/lib/ServiceMain.h"

using android::IBinder;
using android::IResultReceiver;
using android::Parcel;
using android::sp;
using android::status_t;
using android::String16;
using android::base::unique_fd;

namespace {

constexpr char kUsage[] =
        "usage: cmd openfileprobe [--late] PATH CONTEXT MODE\n"
        "       cmd openfileprobe --label PATH CONTEXT\n"
        "Opens a file by way of its caller, and prints whether it was opened and what reading and\n"
        "writing it gave. CONTEXT may be empty.\n"
        "  --late    opens it after the call has returned\n"
        "  --label   gives the file a security context instead\n";
constexpr uint32_t kOpenFile = IBinder::FIRST_CALL_TRANSACTION;
constexpr char kText[] = "written by openfileprobe\n";
/** Long enough for the reply to reach the caller. */
constexpr std::chrono::milliseconds kReplyTime{500};

struct Command {
    unique_fd out;
    unique_fd errors;
    std::vector<std::string> arguments;
    sp<IBinder> callback;
    sp<IResultReceiver> receiver;
};

unique_fd duplicate(int fd) {
    return unique_fd(fcntl(fd, F_DUPFD_CLOEXEC, 0));
}

Command readCommand(const Parcel& data) {
    Command command;
    data.readFileDescriptor();
    command.out = duplicate(data.readFileDescriptor());
    command.errors = duplicate(data.readFileDescriptor());
    for (int32_t count = data.readInt32(); count > 0 && data.dataAvail() > 0; --count) {
        command.arguments.emplace_back(android::String8(data.readString16()).c_str());
    }
    command.callback = data.readStrongBinder();
    command.receiver = android::interface_cast<IResultReceiver>(data.readStrongBinder());
    return command;
}

void print(const Command& command, const std::string& line) {
    dprintf(command.out.get(), "%s\n", line.c_str());
}

/**
 * By hand: this libbinder's own proxy cannot read the reply of its own stub. An empty descriptor
 * means that the file was not opened.
 */
unique_fd openRemotely(const sp<IBinder>& callback, const std::string& path,
                       const std::string& context, const std::string& mode) {
    Parcel request;
    Parcel reply;
    request.writeInterfaceToken(String16("com.android.internal.os.IShellCallback"));
    for (const std::string& text : {path, context, mode}) {
        request.writeString16(String16(text.c_str()));
    }
    if (callback->transact(kOpenFile, request, &reply) != android::OK) return unique_fd();
    if (reply.readExceptionCode() != 0 || reply.readInt32() == 0) return unique_fd();
    const int fd = reply.readParcelFileDescriptor();
    return fd >= 0 ? duplicate(fd) : unique_fd();
}

void describeFile(const Command& command, int fd) {
    const int access = fcntl(fd, F_GETFL) & O_ACCMODE;
    if (access != O_WRONLY) {
        char text[64] = {};
        const ssize_t count = pread(fd, text, sizeof(text) - 1, 0);
        print(command, count < 0 ? std::string("read failed: ") + strerror(errno)
                                 : std::string("read: ") + text);
    }
    if (access != O_RDONLY) {
        const ssize_t count = write(fd, kText, sizeof(kText) - 1);
        print(command, count < 0 ? std::string("write failed: ") + strerror(errno)
                                 : "wrote: " + std::to_string(count));
    }
}

int32_t probe(const Command& command, const std::string& path, const std::string& context,
              const std::string& mode) {
    const unique_fd fd = openRemotely(command.callback, path, context, mode);
    print(command, fd.get() >= 0 ? "opened" : "not opened");
    if (fd.get() < 0) return 1;
    describeFile(command, fd.get());
    return 0;
}

int32_t label(const Command& command, const std::string& path, const std::string& context) {
    const int result = setfilecon(path.c_str(), context.c_str());
    print(command, result == 0 ? "labelled" : std::string("not labelled: ") + strerror(errno));
    return result == 0 ? 0 : 1;
}

/** Opens once the caller's call has returned, while it still waits for the result. */
void probeLate(Command command) {
    std::this_thread::sleep_for(kReplyTime);
    const auto& arguments = command.arguments;
    command.receiver->send(probe(command, arguments[1], arguments[2], arguments[3]));
}

void run(Command command) {
    const auto& arguments = command.arguments;
    if (arguments.size() == 3 && arguments[0] == "--label") {
        command.receiver->send(label(command, arguments[1], arguments[2]));
    } else if (arguments.size() == 3) {
        command.receiver->send(probe(command, arguments[0], arguments[1], arguments[2]));
    } else if (arguments.size() == 4 && arguments[0] == "--late") {
        std::thread(probeLate, std::move(command)).detach();
    } else if (arguments.size() == 1 && arguments[0] == "--help") {
        dprintf(command.out.get(), "%s", kUsage);
        command.receiver->send(0);
    } else {
        dprintf(command.errors.get(),
                "openfileprobe: wants [--late] PATH CONTEXT MODE, or --label PATH CONTEXT\n");
        command.receiver->send(zstats::cli::kExitUsage);
    }
}

class OpenFileProbe : public android::BBinder {
  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (code != SHELL_COMMAND_TRANSACTION) return BBinder::onTransact(code, data, reply, flags);
        Command command = readCommand(data);
        if (command.callback == nullptr || command.receiver == nullptr) return android::BAD_VALUE;
        run(std::move(command));
        return android::OK;
    }
};

}  // namespace

int main(int argc, char** argv) {
    zstats::cli::CommandLine line("openfileprobe", kUsage);
    if (const auto ended = line.read(argc, argv)) return *ended;
    zstats::vdevice::publishOrDie("openfileprobe", sp<IBinder>(new OpenFileProbe));
    return zstats::vdevice::serveBinderCalls();
}
