#include "acquire/PushedAtomSubscription.h"

#include <android-base/unique_fd.h>
#include <binder/TextOutput.h>
#include <fcntl.h>
#include <proto/shell_config.pb.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <thread>
#include <utility>

#include "acquire/Cmd.h"
#include "daemon/base/Log.h"

namespace zstats {

using android::base::unique_fd;
using android::os::ParcelFileDescriptor;
using android::os::statsd::PulledAtomSubscription;
using android::os::statsd::ShellSubscription;

namespace {

constexpr int64_t kPullIntervalMs = 1000;
constexpr const char* kPullPackages[] = {"AID_ROOT", "AID_SYSTEM", "AID_STATSD"};
constexpr size_t kLengthBytes = 8;  // of the length that precedes a message

/** Ids from `first` to `last`, both included. */
struct IdRange {
    int32_t first;
    int32_t last;
    AtomDelivery delivery;
};

constexpr IdRange kIdRanges[] = {
        {3, 749, AtomDelivery::kPushed},
        {100000, 149999, AtomDelivery::kPushed},
        {150000, INT32_MAX, AtomDelivery::kPulled},
        // The pulled ids from 10500 to 99999 are not subscribed.
        {10000, 10499, AtomDelivery::kPulled},
};

/** The descriptors of one subscription's thread. */
struct SubscriptionFds {
    unique_fd controlRead;
    int controlWrite;  // never closed
    unique_fd output;
};

void addPulled(ShellSubscription* subscription, int32_t atomId) {
    PulledAtomSubscription* pulled = subscription->add_pulled();
    pulled->mutable_matcher()->set_atom_id(atomId);
    pulled->set_freq_millis(kPullIntervalMs);
    for (const char* package : kPullPackages) pulled->add_packages(package);
}

/** Body of the detached thread. The pipe's write end stays open for the life of the process. */
void runDataSubscribe(SubscriptionFds fds) {
    ZLOG(INFO, "AtomsAcquire cmdMain in!!!\n");
    cmdMain({"stats", "data-subscribe"}, android::aout, android::aerr, fds.controlRead.get(),
            fds.output.get(), STDERR_FILENO, RunMode::kStandalone);
    fds.controlRead.reset();
    fds.output.reset();
    ZLOG(INFO, "AtomsAcquire cmdMain done!!!\n");
}

/** Resizes an empty pipe to `size` bytes, in as few pages as possible; false when it cannot. */
bool fitPipe(int fd, size_t size) {
    if (fcntl(fd, F_SETPIPE_SZ, static_cast<int>(size)) >= 0) return true;
    // Above the limit of a pipe or of its user, but the present size may be enough.
    return static_cast<size_t>(std::max(fcntl(fd, F_GETPIPE_SZ), 0)) >= size;
}

/** Writes the frame in one call; false when that fails. A short write counts as success. */
bool writeConfig(int fd, const std::string& frame) {
    // The pipe has no reader yet, so a write that exceeds it would block for ever.
    if (!fitPipe(fd, frame.size())) {
        errno = EMSGSIZE;
    } else if (write(fd, frame.data(), frame.size()) >= 0) {
        return true;
    }
    ZLOG(ERROR, "AtomsAcquire write to control pipe done with error(%s) \n", strerror(errno));
    return false;
}

/** Returns 1 when the command's thread was started, else -1. */
int32_t subscribe(const std::vector<int32_t>& atomIds, const ParcelFileDescriptor& fd) {
    int control[2];
    if (pipe(control) != 0) {
        fprintf(stderr, "create control pipe failed\n");
        return -1;
    }
    unique_fd controlRead(control[0]);
    unique_fd controlWrite(control[1]);
    ZLOG(INFO, "AtomsAcquire write config \n");
    const std::string message = serializeSubscription(atomIds);
    ZLOG(INFO, "AtomsAcquire config.SerializeToString \n");
    const std::string frame = frameMessage(message);
    ZLOG(INFO, "AtomsAcquire sizeof(n):%d str.size():%d\n", static_cast<int>(kLengthBytes),
         static_cast<int>(frame.size()));
    if (!writeConfig(controlWrite.get(), frame)) return -1;
    ZLOG(INFO, "AtomsAcquire dumpShellSubscriptionForPush write to control pipe done  \n");
    // Unchecked: without a duplicate the command fails, on its own thread.
    unique_fd output(dup(fd.get()));
    ZLOG(INFO, "AtomsAcquire zstats data-subscribe in intInFd =%d,inFds.get()=%d\n", output.get(),
         fd.get());
    SubscriptionFds fds{std::move(controlRead), controlWrite.release(), std::move(output)};
    std::thread(runDataSubscribe, std::move(fds)).detach();
    return 1;
}

}  // namespace

AtomDelivery deliveryOf(int32_t atomId) {
    for (const IdRange& range : kIdRanges) {
        if (atomId >= range.first && atomId <= range.last) return range.delivery;
    }
    return AtomDelivery::kNone;
}

std::string serializeSubscription(const std::vector<int32_t>& atomIds) {
    ShellSubscription subscription;
    for (int32_t atomId : atomIds) {
        switch (deliveryOf(atomId)) {
            case AtomDelivery::kPushed:
                subscription.add_pushed()->set_atom_id(atomId);
                break;
            case AtomDelivery::kPulled:
                addPulled(&subscription, atomId);
                break;
            case AtomDelivery::kNone:
                break;
        }
    }
    std::string message;
    subscription.SerializeToString(&message);
    return message;
}

std::string frameMessage(std::string_view message) {
    std::string frame;
    for (size_t i = 0; i < kLengthBytes; ++i) {
        frame.push_back(static_cast<char>(uint64_t{message.size()} >> (8 * i) & 0xff));
    }
    return frame.append(message);
}

int32_t dumpShellSubscriptionForPush(const std::vector<int32_t>& atomIds,
                                     const ParcelFileDescriptor& fd) {
    ZLOG(INFO, "AtomsAcquire dumpShellSubscriptionForPush in!\n");
    const int32_t ret = subscribe(atomIds, fd);
    ZLOG(INFO, "dumpShellSubscriptionForPush done ret = %d", ret);
    return ret;
}

}  // namespace zstats
