#include <android-base/unique_fd.h>
#include <binder/IServiceManager.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "acquire/IAtomsAcquire.h"
#include "vdevice/tools/pullbench/Pullbench.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

// A pushed atom and a pulled one.
const std::vector<int32_t> kIds = {100207, 150010};
// statsd serves 20 at a time, and one whose reader has gone for up to a second more.
constexpr size_t kAtATime = 6;

/** The stream's end to read from. */
unique_fd openStream() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        perror("pullbench: pipe");
        exit(EXIT_FAILURE);
    }
    unique_fd stream(ends[0]);
    const android::os::ParcelFileDescriptor output{unique_fd(ends[1])};
    const auto service = android::interface_cast<IAtomsAcquire>(
            android::defaultServiceManager()->checkService(android::String16("atomacq")));
    int32_t result = 0;
    if (service == nullptr || !service->registerFdForPushedAtoms(kIds, output, &result).isOk() ||
        result != 1) {
        fprintf(stderr, "pullbench: the daemon takes no subscription\n");
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

int subscribe(int count) {
    std::vector<unique_fd> streams;
    int refused = 0;
    for (int opened = 0, served = 0; served + refused < count;) {
        while (streams.size() < kAtATime && opened < count) {
            streams.push_back(openStream());
            ++opened;
        }
        const size_t ready = readyOf(streams);
        char bytes[4096];
        ++(read(streams[ready].get(), bytes, sizeof(bytes)) > 0 ? served : refused);
        streams.erase(streams.begin() + static_cast<ptrdiff_t>(ready));
    }
    printf("subscribed %d %d\n", count, refused);
    return refused == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace zstats::vdevice
