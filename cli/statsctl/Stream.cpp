#include "cli/statsctl/Stream.h"

#include <binder/IServiceManager.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "acquire/IAtomsAcquire.h"

namespace zstats::cli {
namespace {

using android::base::unique_fd;
using android::binder::Status;
using Clock = std::chrono::steady_clock;

/** The minimum size of a pipe, and the maximum without privileges. */
constexpr int kSmallPipe = 4096;
constexpr int kLargePipe = 1 << 20;

volatile sig_atomic_t gEnded = 0;

/** Requests the stream; returns an exit status, and prints the reason if it is not kExitOk. */
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

/** Before the first binder call, because the driver keeps the uid of its opening. */
bool becomeUser(const std::optional<int32_t>& uid) {
    if (!uid || setuid(static_cast<uid_t>(*uid)) == 0) return true;
    fprintf(stderr, "statsctl: setuid(%d): %s\n", *uid, strerror(errno));
    return false;
}

/** A pipe: `in` to read the stream from, `out` for statsd. */
bool openStream(bool stall, unique_fd* in, unique_fd* out) {
    if (!android::base::Pipe(in, out)) {
        fprintf(stderr, "statsctl: pipe: %s\n", strerror(errno));
        return false;
    }
    // O_NONBLOCK, or statsd would wait for this reader, with all other streams.
    fcntl(*out, F_SETPIPE_SZ, stall ? kSmallPipe : kLargePipe);
    if (!stall) fcntl(*out, F_SETFL, O_NONBLOCK);
    return true;
}

int millisUntil(const std::optional<Clock::time_point>& end) {
    if (!end) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*end - Clock::now());
    return static_cast<int>(std::clamp<int64_t>(left.count(), 0, INT_MAX));
}

int broken() {
    fprintf(stderr, "statsctl: the stream is broken\n");
    return kExitFailed;
}

/** Delivers the pending messages. Returns an exit status to end with, or no value to continue. */
std::optional<int> handOn(ShellFrameCutter* cutter, const StreamUser& user) {
    while (const auto message = cutter->next()) {
        const auto atoms = parseShellData(*message);
        if (!atoms) return broken();
        if (!user(*atoms)) return kExitOk;
    }
    if (cutter->broken()) return broken();
    return std::nullopt;
}

/** Reads available bytes. Returns an exit status to end with, or no value to continue. */
std::optional<int> readStream(int stream, ShellFrameCutter* cutter, const StreamUser& user) {
    char bytes[4096];
    const ssize_t count = read(stream, bytes, sizeof(bytes));
    if (count < 0 && errno == EINTR) return std::nullopt;
    if (count <= 0) {
        fprintf(stderr, "statsctl: %s\n", count == 0 ? "the stream has ended" : strerror(errno));
        return kExitFailed;
    }
    cutter->append(bytes, static_cast<size_t>(count));
    return handOn(cutter, user);
}

int follow(int stream, const std::optional<Clock::time_point>& end, const StreamUser& user) {
    ShellFrameCutter cutter;
    while (gEnded == 0) {
        pollfd wait = {stream, POLLIN, 0};
        const int ready = poll(&wait, 1, millisUntil(end));
        if (ready == 0) return kExitOk;
        if (ready < 0 && errno == EINTR) continue;
        if (ready < 0) {
            fprintf(stderr, "statsctl: poll: %s\n", strerror(errno));
            return kExitFailed;
        }
        const auto status = readStream(stream, &cutter, user);
        if (status) return *status;
    }
    return kExitOk;
}

/** Keeps the stream open without reading it. */
int stall(const std::optional<Clock::time_point>& end) {
    poll(nullptr, 0, millisUntil(end));
    return kExitOk;
}

}  // namespace

void endFollowingOnSignal() {
    struct sigaction action = {};
    action.sa_handler = [](int) { gEnded = 1; };  // without SA_RESTART: poll() has to return
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

int followStream(const CommandArguments& arguments, const StreamUser& user) {
    unique_fd stream, out;
    if (!becomeUser(arguments.uid) || !openStream(arguments.stall, &stream, &out)) {
        return kExitFailed;
    }
    const int status = request(arguments.ids, std::move(out));
    if (status != kExitOk) return status;
    std::optional<Clock::time_point> end;
    if (arguments.seconds) end = Clock::now() + std::chrono::seconds(*arguments.seconds);
    return arguments.stall ? stall(end) : follow(stream, end, user);
}

}  // namespace zstats::cli
