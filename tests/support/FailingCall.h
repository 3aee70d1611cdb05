#pragma once

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cstddef>
#include <thread>

namespace zstats {

/** An argument of a system call; a value of 0 stands for every one. */
struct CallArgument {
    uint32_t index = 0;
    uint32_t value = 0;
};

/**
 * Runs `action` on a thread for which, and for whose threads, the kernel does not make a system
 * call with this argument. The call fails with `error`, or returns 0 if that is 0.
 */
template <typename Action>
void withFailingCall(uint32_t call, CallArgument argument, uint32_t error, const Action& action) {
    constexpr uint32_t kArguments = offsetof(seccomp_data, args);
    sock_filter filter[] = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 4),
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kArguments + 8 * argument.index),
            BPF_STMT(BPF_ALU | BPF_AND | BPF_K, argument.value != 0 ? UINT32_MAX : 0),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, argument.value, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog program = {std::size(filter), filter};
    std::thread([&] {
        ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
        ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
        action();
    }).join();
}

}  // namespace zstats
