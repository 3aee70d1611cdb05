#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "atoms/ActivityWakeUpSourceAtom.h"
#include "tests/support/TempTree.h"

// A program of its own, because it counts every allocation of the process.
namespace {
std::atomic<size_t> gAllocations{0};
}  // namespace

void* operator new(size_t size) {
    ++gAllocations;
    if (void* memory = malloc(size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    free(memory);
}

namespace zstats {
namespace {

/** Fills `tree` with so many sources, the first few of them active. */
void writeSources(const TempTree& tree, int sources, int active) {
    for (int i = 0; i < sources; ++i) {
        const std::string source = "wakeup" + std::to_string(i) + "/";
        tree.write(source + "active_time_ms", i < active ? "12\n" : "0\n");
        if (i >= active) continue;
        for (const char* attribute :
             {"active_count", "event_count", "last_change_ms", "name", "expire_count",
              "max_time_ms", "prevent_suspend_time_ms", "total_time_ms", "wakeup_count"}) {
            tree.write(source + attribute, "7\n");
        }
    }
}

/** Lets the stopped child run to its end; how often it entered each system call. */
std::map<uint64_t, int> traceToEnd(pid_t child) {
    std::map<uint64_t, int> calls;
    int status = 0;
    while (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0 &&
           waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        __ptrace_syscall_info info = {};
        ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof(info), &info);
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY) ++calls[info.entry.nr];
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    return calls;
}

/** The system calls of `action`, which runs in a child process and says whether all was well. */
template <typename Action>
std::map<uint64_t, int> systemCalls(Action action) {
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        _exit(action() ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSTOPPED(status));
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD);
    return traceToEnd(child);
}

int opens(std::map<uint64_t, int> calls) {
#ifdef SYS_open
    return calls[SYS_open] + calls[SYS_openat];
#else
    return calls[SYS_openat];
#endif
}

TEST(WakeUpCost, aSourceIsOpenedOnceUnlessItIsActive) {
    const struct {
        int sources;
        int active;
        int opens;  // the folder, active_time_ms of each, and nine files more of each active one
        int reads;
    } cases[] = {
            {0, 0, 1, 0}, {1, 0, 2, 2}, {100, 0, 101, 200}, {100, 3, 128, 254}, {2, 2, 21, 40},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.sources << " sources, " << c.active << " active");
        const TempTree tree;
        writeSources(tree, c.sources, c.active);
        auto calls = systemCalls([&] {
            std::vector<WakeLockInfo> records;
            getWakeLockStatsAt(tree.path("").c_str(), &records);
            return records.size() == static_cast<size_t>(c.active);
        });
        EXPECT_EQ(opens(calls), c.opens);
        EXPECT_EQ(calls[SYS_close], c.opens);
        EXPECT_EQ(calls[SYS_read], c.reads);
    }
}

size_t allocationsFor(int sources, size_t active) {
    const TempTree tree;
    writeSources(tree, sources, static_cast<int>(active));
    const std::string folder = tree.path("");
    std::vector<WakeLockInfo> records;
    records.reserve(active);
    const size_t before = gAllocations;
    getWakeLockStatsAt(folder.c_str(), &records);
    const size_t allocations = gAllocations - before;
    EXPECT_EQ(records.size(), active);
    return allocations;
}

TEST(WakeUpCost, inactiveSourcesAllocateNothing) {
    const size_t few = allocationsFor(4, 0);
    EXPECT_EQ(allocationsFor(200, 0), few);
    EXPECT_LE(few, 2u);
    EXPECT_EQ(allocationsFor(200, 2), few);
    EXPECT_GT(gAllocations, 200u);  // the counter does count
}

}  // namespace
}  // namespace zstats
