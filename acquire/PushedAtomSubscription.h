#pragma once

#include <binder/ParcelFileDescriptor.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zstats {

/** How a subscription asks for an atom. */
enum class AtomDelivery {
    kNone,    // left out
    kPushed,  // delivered when somebody writes it
    kPulled,  // statsd pulls it once a second
};

/** How the atom with this id is asked for; kNone for ids outside of all ranges. */
AtomDelivery deliveryOf(int32_t atomId);

/** A serialised statsd ShellSubscription for the ids, in their order, duplicates kept. */
std::string serializeSubscription(const std::vector<int32_t>& atomIds);

/** The message behind its length in bytes as 8 bytes, least significant first. */
std::string frameMessage(std::string_view message);

/**
 * Subscribes to the atoms at statsd, which streams them into a duplicate of `fd`; `fd` itself is
 * only borrowed. The subscription runs as a shell command on a detached thread until that command
 * ends, and the write end of its control pipe stays open for the life of the process.
 *
 * Returns 1 when that thread was started, -1 when no pipe could be made or written. Throws
 * std::system_error when no thread can be started. Any thread; calls share nothing.
 *
 * The frame goes into the pipe in one write before the thread exists, so the pipe is made as large
 * as the frame, and a frame that it cannot hold is not written. The kernel allows a process without
 * capabilities 1 MiB (/proc/sys/fs/pipe-max-size), and 8 KiB once the pipes of its user have 64 MiB
 * (pipe-user-pages-soft). A pulled id from 150000 to 2097151 takes 45 bytes, a larger one up to 47,
 * a pushed one up to 6: 23301 ordinary pulled ids fit into 1 MiB, 181 into 8 KiB.
 */
int32_t dumpShellSubscriptionForPush(const std::vector<int32_t>& atomIds,
                                     const android::os::ParcelFileDescriptor& fd);

}  // namespace zstats
