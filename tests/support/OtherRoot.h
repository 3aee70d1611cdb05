#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <string>
#include <thread>

#include "tests/support/TempTree.h"

namespace zstats {

/**
 * Runs `action` on a thread that sees the tree's folders "sys" and "proc" instead of the kernel's.
 * False when this process may not mount.
 */
template <typename Action>
bool withTreeAsKernel(const TempTree& tree, Action action) {
    bool mounted = false;
    std::thread([&] {
        mounted = unshare(CLONE_NEWNS) == 0 &&
                  mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
        for (const char* folder : {"sys", "proc"}) {
            const std::string kernel = std::string("/") + folder;
            tree.write(std::string(folder) + "/used", "");
            mounted = mounted && mount(tree.path(folder).c_str(), kernel.c_str(), nullptr, MS_BIND,
                                       nullptr) == 0;
        }
        if (mounted) action();
    }).join();
    return mounted;
}

}  // namespace zstats
