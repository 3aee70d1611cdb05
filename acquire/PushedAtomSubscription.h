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
    kPushed,  // delivered when it is written
    kPulled,  // statsd pulls it once a second
};

/** How the atom with this id is asked for; kNone for ids outside of all ranges. */
AtomDelivery deliveryOf(int32_t atomId);

/** A serialised statsd ShellSubscription for the ids, in their order, duplicates kept. */
std::string serializeSubscription(const std::vector<int32_t>& atomIds);

/** The message, preceded by its length as 8 bytes, least significant first. */
std::string frameMessage(std::string_view message);

/**
 * Subscribes to the atoms at statsd, which streams them into a duplicate of `fd`. The subscription
 * runs as a shell command on a detached thread until that command ends. The write end of its
 * control pipe stays open for the life of the process.
 *
 * Returns 1 when the thread was started, -1 when no pipe could be made or written. Throws
 * std::system_error when no thread can be started. Any thread; calls share no state.
 *
 * The frame is written before the thread exists, so the pipe is made as large as the frame, and a
 * frame that it cannot hold is not written. docs/acquisition.md has the limits in ids.
 */
int32_t dumpShellSubscriptionForPush(const std::vector<int32_t>& atomIds,
                                     const android::os::ParcelFileDescriptor& fd);

}  // namespace zstats
