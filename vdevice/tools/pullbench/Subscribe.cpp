#include <android-base/unique_fd.h>
#include <binder/IServiceManager.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <vector>

#include "acquire/IAtomsAcquire.h"
#include "vdevice/tools/pullbench/Pullbench.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

// A pushed atom and a pulled one; in a long list also pulled ones that have no puller, as many as
// the 50 KiB that statsd takes.
constexpr int32_t kPushed = 100207;
constexpr int32_t kPulled = 150010;
constexpr int32_t kWithoutPuller = 200000;
constexpr size_t kLongList = 1137;
// statsd serves 20 at a time, and one whose reader has gone for up to a second more.
constexpr size_t kAtATime = 6;

android::sp<IAtomsAcquire> atomsAcquire() {
    auto service = android::interface_cast<IAtomsAcquire>(
            android::defaultServiceManager()->checkService(android::String16("atomacq")));
    if (service != nullptr) return service;
    fprintf(stderr, "pullbench: there is no atomacq\n");
    exit(EXIT_FAILURE);
}

/** What the daemon answers to the list; `stream` becomes the end to read from. */
int32_t registerIds(IAtomsAcquire& service, const std::vector<int32_t>& ids, unique_fd* stream) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        perror("pullbench: pipe");
        exit(EXIT_FAILURE);
    }
    stream->reset(ends[0]);
    const android::os::ParcelFileDescriptor output{unique_fd(ends[1])};
    int32_t result = 0;
    if (!service.registerFdForPushedAtoms(ids, output, &result).isOk()) {
        fprintf(stderr, "pullbench: the daemon takes no subscription\n");
        exit(EXIT_FAILURE);
    }
    return result;
}

/** The end to read from of a new stream. */
unique_fd openStream(bool withLongList) {
    unique_fd stream;
    std::vector<int32_t> ids = {kPushed, kPulled};
    if (withLongList) ids.resize(kLongList, kWithoutPuller);
    if (registerIds(*atomsAcquire(), ids, &stream) != 1) {
        fprintf(stderr, "pullbench: the daemon does not hand a subscription over\n");
        exit(EXIT_FAILURE);
    }
    return stream;
}

/** Waits until a stream has something to read, or has ended. */
size_t readyOf(const std::vector<unique_fd>& streams) {
    std::vector<pollfd> wait;
    for (const unique_fd& stream : streams) wait.push_back({stream.get(), POLLIN, 0});
    poll(wait.data(), wait.size(), -1);
    for (size_t i = 0; i < wait.size(); ++i) {
        if (wait[i].revents != 0) return i;
    }
    return 0;
}

}  // namespace

int subscribe(int count, int every) {
    std::vector<unique_fd> streams;
    int refused = 0;
    for (int opened = 0, served = 0; served + refused < count;) {
        while (streams.size() < kAtATime && opened < count) {
            streams.push_back(openStream(++opened % every == 0));
        }
        const size_t ready = readyOf(streams);
        char bytes[4096];
        ++(read(streams[ready].get(), bytes, sizeof(bytes)) > 0 ? served : refused);
        streams.erase(streams.begin() + static_cast<ptrdiff_t>(ready));
    }
    printf("subscribed %d %d\n", count, refused);
    return refused == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

int registerLists(int count, int ids) {
    const std::vector<int32_t> list(static_cast<size_t>(ids), kWithoutPuller);
    const android::sp<IAtomsAcquire> service = atomsAcquire();
    std::map<int32_t, int> times;
    for (int i = 0; i < count; ++i) {
        unique_fd unread;
        ++times[registerIds(*service, list, &unread)];
    }
    for (const auto& [result, number] : times) {
        printf("%d ids, %d times: %d\n", ids, number, result);
    }
    return EXIT_SUCCESS;
}

}  // namespace zstats::vdevice
