#pragma once

#include <aidl/android/os/IStatsd.h>
#include <android/binder_auto_utils.h>
#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "daemon/base/Mutex.h"

/** Metadata of a registration; times in ms. The initial values are the defaults. */
struct AStatsManager_PullAtomMetadata {
    int64_t coolDownMillis = 1000;
    int64_t timeoutMillis = 1500;
    std::vector<int32_t> additiveFields;
};

namespace zstats {

class PullAtomCallback;

/**
 * The callbacks that this process has registered with statsd, by atom tag. Any thread; makes no
 * binder call on the caller's thread.
 *
 * A worker thread, which exists only while there are commands, runs them in order. The
 * registrations are kept, so that all can be repeated, in ascending order of their tags, when
 * statsd returns after its death.
 */
class PullCallbackTable {
  public:
    /** Never destroyed; its worker is joined when the process exits. */
    static PullCallbackTable& instance();

    PullCallbackTable(const PullCallbackTable&) = delete;
    PullCallbackTable& operator=(const PullCallbackTable&) = delete;

    void set(int32_t atomTag, const AStatsManager_PullAtomMetadata& metadata,
             AStatsManager_PullAtomCallback callback, void* cookie);
    void clear(int32_t atomTag);

    /** Waits until all commands have run or were dropped. Not from the worker. */
    void join();

  private:
    using IStatsd = aidl::android::os::IStatsd;
    using CallbackPtr = std::shared_ptr<PullAtomCallback>;

    /** A registration or, with an empty callback, an unregistration. */
    struct Command {
        int32_t atomTag;
        CallbackPtr callback;
    };

    PullCallbackTable();
    ~PullCallbackTable() = delete;

    static void onStatsdDied(void* cookie);

    void enqueue(Command command);
    void runCommands();
    std::optional<Command> nextCommand();
    void dropCommands();
    std::shared_ptr<IStatsd> statsd();
    void forgetStatsd();
    void registerAll();

    Mutex mCallbacksLock;
    std::map<int32_t, CallbackPtr> mCallbacks GUARDED_BY(mCallbacksLock);

    Mutex mQueueLock;
    std::deque<Command> mQueue GUARDED_BY(mQueueLock);
    std::thread mWorker GUARDED_BY(mQueueLock);
    bool mWorkerRunning GUARDED_BY(mQueueLock) = false;

    // Also held during look-ups, so that only one of them links the death recipient.
    Mutex mStatsdLock;
    std::shared_ptr<IStatsd> mStatsd GUARDED_BY(mStatsdLock);
    ndk::ScopedAIBinder_DeathRecipient mDeathRecipient;
};

}  // namespace zstats
