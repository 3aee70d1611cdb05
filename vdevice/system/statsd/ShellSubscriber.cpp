#include "vdevice/system/statsd/ShellSubscriber.h"

#include <android-base/file.h>
#include <fcntl.h>
#include <utils/SystemClock.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "vdevice/system/statsd/StatsdLog.h"

namespace zstats::vdevice {
namespace {

// statsd's limits.
constexpr uint64_t kMaxConfig = uint64_t{50} * 1024;
constexpr size_t kMaxSubscriptions = 20;

/** The frame's content; no value, with a log line, if it is too long or incomplete. */
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

ShellSubscriber::~ShellSubscriber() {
    std::thread thread;
    {
        const ScopedLock lock(mLock);
        mEnding = true;
        thread.swap(mThread);
    }
    mChanged.notify_one();
    if (thread.joinable()) thread.join();
}

void ShellSubscriber::start(int in, int out, std::chrono::seconds lifetime) {
    const ScopedLock lock(mLock);
    if (mSubscriptions.size() >= kMaxSubscriptions) {
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
    launch(std::move(*request), out, lifetime);
}

void ShellSubscriber::launch(SubscriptionRequest request, int out, std::chrono::seconds lifetime) {
    // The caller closes its descriptor; the duplicate lives as long as the subscription.
    android::base::unique_fd duplicate(fcntl(out, F_DUPFD_CLOEXEC, 0));
    if (!duplicate.ok()) {
        STATSD_LOG(ERROR, "subscription: dup: %s", strerror(errno));
        return;
    }
    mSubscriptions.emplace_back(std::move(request), std::move(duplicate), lifetime, mPullers,
                                android::elapsedRealtimeNano);
    mRunning = mSubscriptions.size();
    mNewSubscription = true;
    mChanged.notify_one();
    if (mServing) return;
    // Joining under the lock is safe: a thread that has cleared mServing does not take it again.
    if (mThread.joinable()) mThread.join();
    mServing = true;
    mThread = std::thread(&ShellSubscriber::serve, this);
}

/** Runs on mThread, while there are subscriptions. */
void ShellSubscriber::serve() {
    ScopedLock lock(mLock);
    while (!mEnding) {
        mNewSubscription = false;
        const std::chrono::milliseconds sleep(serveAll());
        const auto wake = std::chrono::steady_clock::now() + sleep;
        if (mSubscriptions.empty()) break;
        while (!mEnding && !mNewSubscription &&
               mChanged.wait_until(lock, wake) == std::cv_status::no_timeout) {
        }
    }
    mServing = false;
}

int64_t ShellSubscriber::serveAll() {
    // Heartbeats are due every second, so no sleep is longer.
    constexpr int64_t kLongestSleepMs = 1000;
    int64_t sleepMs = kLongestSleepMs;
    const int64_t now = android::elapsedRealtimeNano();
    for (auto entry = mSubscriptions.begin(); entry != mSubscriptions.end();) {
        sleepMs = std::min(sleepMs, entry->work(now));
        entry = nextAfter(entry);
    }
    return sleepMs;
}

/** Drops a subscription that has ended. */
ShellSubscriber::Subscriptions::iterator ShellSubscriber::nextAfter(Subscriptions::iterator entry) {
    if (entry->alive()) return ++entry;
    const auto next = mSubscriptions.erase(entry);
    mRunning = mSubscriptions.size();
    STATSD_LOG(INFO, "subscription ended, %zu are running", mSubscriptions.size());
    return next;
}

void ShellSubscriber::push(const PushedEvent& event) {
    const auto atom = streamedAtom(event.uid, event.bytes);
    if (!atom) return;
    const ScopedLock lock(mLock);
    for (auto entry = mSubscriptions.begin(); entry != mSubscriptions.end();) {
        entry->push(*atom);
        entry = nextAfter(entry);
    }
}

}  // namespace zstats::vdevice
