#include "tests/unit/acquire/AcquireKit.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <utils/String8.h>

#include <chrono>
#include <cstddef>
#include <filesystem>

using android::Parcel;
using android::sp;
using android::status_t;

namespace zstats {

status_t FakeCommand::answer(const ShellCall& call) {
    call.receiver->send(0);
    return android::OK;
}

std::shared_ptr<inprocess::RemoteService> publishCommand(const std::string& name,
                                                         FakeCommand::Behaviour behaviour) {
    return inprocess::publish(name, sp<android::IBinder>(new FakeCommand(std::move(behaviour))));
}

status_t FakeCommand::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    if (code != SHELL_COMMAND_TRANSACTION) return BBinder::onTransact(code, data, reply, flags);
    ShellCall call;
    call.in = data.readFileDescriptor();
    call.out = data.readFileDescriptor();
    call.err = data.readFileDescriptor();
    for (int32_t count = data.readInt32(); count > 0; --count) {
        call.arguments.emplace_back(android::String8(data.readString16()).c_str());
    }
    call.callback = data.readStrongBinder();
    call.receiver = android::interface_cast<android::IResultReceiver>(data.readStrongBinder());
    return mBehaviour(call);
}

std::set<int> ownEntries(const std::string& directory) {
    std::set<int> entries;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/" + directory)) {
        entries.insert(std::stoi(entry.path().filename()));
    }
    if (directory == "task") return entries;
    // The iterator's own descriptor was among them.
    for (int fd : std::set<int>(entries)) {
        if (fcntl(fd, F_GETFD) < 0) entries.erase(fd);
    }
    return entries;
}

void closeDescriptorsSince(const std::set<int>& before) {
    for (int fd : ownEntries("fd")) {
        if (before.count(fd) == 0) close(fd);
    }
}

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        sched_yield();
    }
    return true;
}

namespace {

/** Each call has a row in the filter that skips to the next where the number is another. */
void failCallsOfThisThread(const std::vector<int>& calls, int error) {
    std::vector<sock_filter> program = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (int call : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(call), 0, 1));
        program.push_back(BPF_STMT(BPF_RET, SECCOMP_RET_ERRNO | static_cast<uint32_t>(error)));
    }
    program.push_back(BPF_STMT(BPF_RET, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
    ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
}

}  // namespace

// No std::thread: a sanitizer's check of it would meet the failing calls.
void withFailingCalls(const std::vector<int>& calls, int error,
                      const std::function<void()>& action) {
    std::function<void()> body = [&] {
        failCallsOfThisThread(calls, error);
        action();
    };
    const auto run = [](void* function) -> void* {
        (*static_cast<std::function<void()>*>(function))();
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, run, &body), 0);
    pthread_join(thread, nullptr);
}

}  // namespace zstats
