#include <android-base/unique_fd.h>
#include <binder/IServiceManager.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>

#include "acquire/IAtomsAcquire.h"
#include "vdevice/common/AtomJson.h"
#include "vdevice/common/AtomText.h"
#include "vdevice/common/ShellStream.h"
#include "vdevice/statsctl/Statsctl.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;
using android::binder::Status;
using Clock = std::chrono::steady_clock;

/** Asks for the stream; returns an exit status, and says why when it is not kExitOk. */
int request(const std::vector<int32_t>& ids, unique_fd out) {
    const auto binder =
            android::defaultServiceManager()->checkService(android::String16("atomacq"));
    const auto service = android::interface_cast<IAtomsAcquire>(binder);
    if (service == nullptr) {
        fprintf(stderr, "statsctl: the service atomacq is not there\n");
        return kExitFailed;
    }
    int32_t result = 0;
    const android::os::ParcelFileDescriptor descriptor(std::move(out));
    const Status status = service->registerFdForPushedAtoms(ids, descriptor, &result);
    if (status.exceptionCode() == Status::EX_SERVICE_SPECIFIC) {
        fprintf(stderr, "statsctl: refused: service-specific error %d\n",
                status.serviceSpecificErrorCode());
        return kExitFailed;
    }
    if (!status.isOk()) {
        fprintf(stderr, "statsctl: refused: %s\n", status.toString8().c_str());
        return kExitFailed;
    }
    if (result != 1) {
        fprintf(stderr, "statsctl: the daemon could not subscribe: result %d\n", result);
        return kExitFailed;
    }
    return kExitOk;
}

void print(const StreamedAtom& atom, bool json) {
    if (json) {
        puts(jsonEvent(atom.id, atom.fields).c_str());
    } else {
        printf("%d  %s  %s\n", atom.id, atomInfo(atom.id).name.c_str(),
               eventText(atom.id, atom.fields).c_str());
    }
}

/** Prints what the pending messages hold; false for a stream that makes no sense. */
bool printMessages(ShellFrameCutter* cutter, bool json) {
    while (const auto message = cutter->next()) {
        const auto atoms = parseShellData(*message);
        if (!atoms) return false;
        for (const StreamedAtom& atom : *atoms) print(atom, json);
    }
    return !cutter->broken();
}

int millisUntil(const std::optional<Clock::time_point>& end) {
    if (!end) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*end - Clock::now());
    return static_cast<int>(std::clamp<int64_t>(left.count(), 0, INT_MAX));
}

int follow(int stream, const std::optional<Clock::time_point>& end, bool json) {
    ShellFrameCutter cutter;
    while (true) {
        pollfd wait = {stream, POLLIN, 0};
        const int ready = poll(&wait, 1, millisUntil(end));
        if (ready == 0) return kExitOk;
        char bytes[4096];
        const ssize_t count = ready < 0 ? -1 : read(stream, bytes, sizeof(bytes));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            fprintf(stderr, "statsctl: %s\n", count == 0 ? "the stream has ended" : strerror(errno));
            return kExitFailed;
        }
        cutter.append(bytes, static_cast<size_t>(count));
        if (!printMessages(&cutter, json)) {
            fprintf(stderr, "statsctl: the stream is broken\n");
            return kExitFailed;
        }
    }
}

}  // namespace

int subscribeCommand(const Words& words) {
    // Before the first binder call: the driver keeps the identity of the moment it is opened.
    if (words.uid && setuid(static_cast<uid_t>(*words.uid)) != 0) {
        fprintf(stderr, "statsctl: setuid(%d): %s\n", *words.uid, strerror(errno));
        return kExitFailed;
    }
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        fprintf(stderr, "statsctl: pipe: %s\n", strerror(errno));
        return kExitFailed;
    }
    const unique_fd stream(ends[0]);
    const int status = request(words.ids, unique_fd(ends[1]));
    if (status != kExitOk) return status;
    std::optional<Clock::time_point> end;
    if (words.seconds) end = Clock::now() + std::chrono::seconds(*words.seconds);
    return follow(stream, end, words.json);
}

}  // namespace zstats::vdevice
