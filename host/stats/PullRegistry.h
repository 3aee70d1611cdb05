#pragma once

#include <aidl/android/os/IStatsd.h>
#include <android/binder_auto_utils.h>
#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

/** Values of a registration; times in ms. The members' initial values are the defaults. */
struct AStatsManager_PullAtomMetadata {
    int64_t coolDownMillis = 1000;
    int64_t timeoutMillis = 1500;
    std::vector<int32_t> additiveFields;
};

namespace zstats {

class PullAtomCallback;

/**
 * The process's registrations with statsd. Any thread; nothing here makes a binder call on the
 * caller's thread.
 *
 * Commands run first in, first out on one worker thread, which exists only while there are any. The
 * registrations are kept, so that all of them can be made again, in ascending order of their tags,
 * when statsd has died and come back.
 */
class PullRegistry {
  public:
    /** Never destroyed; its worker is joined when the process exits. */
    static PullRegistry& instance();

    PullRegistry(const PullRegistry&) = delete;
    PullRegistry& operator=(const PullRegistry&) = delete;

    void set(int32_t atomTag, const AStatsManager_PullAtomMetadata& metadata,
             AStatsManager_PullAtomCallback callback, void* cookie);
    void clear(int32_t atomTag);

    /** Waits until every command given so far has run or was dropped. Not from the worker. */
    void join();

  private:
    using IStatsd = aidl::android::os::IStatsd;
    using CallbackPtr = std::shared_ptr<PullAtomCallback>;

    /** A registration, or with an empty callback its withdrawal. */
    struct Command {
        int32_t atomTag;
        CallbackPtr callback;
    };

    PullRegistry();
    ~PullRegistry() = delete;

    static void onStatsdDied(void* cookie);

    void enqueue(Command command);
    void runCommands();
    std::optional<Command> nextCommand();
    void dropCommands();
    std::shared_ptr<IStatsd> statsd();
    std::shared_ptr<IStatsd> connect(const ndk::SpAIBinder& binder);
    void forgetStatsd();
    void registerAll();

    std::mutex mCallbacksLock;  // guards mCallbacks
    std::map<int32_t, CallbackPtr> mCallbacks;

    std::mutex mQueueLock;  // guards the next three
    std::deque<Command> mQueue;
    std::thread mWorker;
    bool mWorkerRunning = false;

    // Held during look-ups too: of two at a time each would link the proxy to the notice of death.
    std::mutex mStatsdLock;  // guards mStatsd
    std::shared_ptr<IStatsd> mStatsd;
    ndk::ScopedAIBinder_DeathRecipient mDeathRecipient;
};

}  // namespace zstats
