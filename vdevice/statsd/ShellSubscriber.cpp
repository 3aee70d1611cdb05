#include "vdevice/statsd/ShellSubscriber.h"

#include <android-base/file.h>
#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <thread>

#include "vdevice/statsd/StatsdLog.h"

namespace zstats::vdevice {
namespace {

constexpr uint64_t kMaxConfig = 50 * 1024;
constexpr size_t kMaxSubscriptions = 20;

/** The frame's content; nothing, and a line in the log, if it is too long or cut short. */
std::optional<std::string> readConfig(int in) {
    uint64_t size = 0;
    if (!android::base::ReadFully(in, &size, sizeof(size))) {
        STATSD_LOG(ERROR, "subscription: no length");
        return std::nullopt;
    }
    if (size > kMaxConfig) {
        STATSD_LOG(ERROR, "subscription: configuration of %llu bytes is too large",
                   static_cast<unsigned long long>(size));
        return std::nullopt;
    }
    std::string config(size, '\0');
    if (!android::base::ReadFully(in, config.data(), config.size())) {
        STATSD_LOG(ERROR, "subscription: configuration is cut short");
        return std::nullopt;
    }
    return config;
}

}  // namespace

void ShellSubscriber::start(int in, int out, std::chrono::seconds lifetime) {
    std::lock_guard lock(mStartLock);
    if (running() >= kMaxSubscriptions) {
        STATSD_LOG(ERROR, "subscription refused: %zu are running", kMaxSubscriptions);
        return;
    }
    const auto config = readConfig(in);
    if (!config) return;
    auto request = parseSubscription(*config);
    if (!request) {
        STATSD_LOG(ERROR, "subscription: malformed configuration");
        return;
    }
    // The caller closes its own; this one lives as long as the subscription.
    android::base::unique_fd duplicate(fcntl(out, F_DUPFD_CLOEXEC, 0));
    if (!duplicate.ok()) {
        STATSD_LOG(ERROR, "subscription: dup: %s", strerror(errno));
        return;
    }
    launch(std::move(*request), std::move(duplicate), lifetime);
}

void ShellSubscriber::launch(SubscriptionRequest request, android::base::unique_fd out,
                             std::chrono::seconds lifetime) {
    auto subscription =
            std::make_shared<Subscription>(std::move(request), std::move(out), lifetime, mPullers);
    {
        std::lock_guard lock(mLock);
        mRunning.insert(subscription);
    }
    std::thread([this, subscription = std::move(subscription)] {
        subscription->run();
        std::lock_guard lock(mLock);
        mRunning.erase(subscription);
        STATSD_LOG(INFO, "subscription ended, %zu are running", mRunning.size());
    }).detach();
}

void ShellSubscriber::push(const PushedEvent& event) {
    const auto atom = streamedAtom(event.uid, event.bytes);
    if (!atom) return;
    std::lock_guard lock(mLock);
    for (const auto& subscription : mRunning) subscription->push(*atom);
}

size_t ShellSubscriber::running() const {
    std::lock_guard lock(mLock);
    return mRunning.size();
}

}  // namespace zstats::vdevice
