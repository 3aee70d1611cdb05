#include "host/stats/PullCallbackTable.h"

#include <android/binder_manager.h>

#include "host/stats/PullAtomCallback.h"

namespace zstats {
namespace {

constexpr char kStatsdService[] = "stats";

void registerWith(aidl::android::os::IStatsd& statsd, int32_t atomTag,
                  const std::shared_ptr<PullAtomCallback>& callback) {
    const AStatsManager_PullAtomMetadata& metadata = callback->metadata();
    // The status is not checked: after statsd's death, all atoms are registered again anyway.
    statsd.registerNativePullAtomCallback(atomTag, metadata.coolDownMillis, metadata.timeoutMillis,
                                          metadata.additiveFields, callback);
}

/** Joins the worker before the static objects that it uses are destroyed. */
struct JoinAtExit {
    ~JoinAtExit() { PullCallbackTable::instance().join(); }
};

}  // namespace

PullCallbackTable& PullCallbackTable::instance() {
    // Never deleted, because binder threads may call its callbacks while the process exits.
    static auto* table = new PullCallbackTable;
    return *table;
}

PullCallbackTable::PullCallbackTable()
      : mDeathRecipient(AIBinder_DeathRecipient_new(&onStatsdDied)) {}

void PullCallbackTable::set(int32_t atomTag, const AStatsManager_PullAtomMetadata& metadata,
                            AStatsManager_PullAtomCallback callback, void* cookie) {
    CallbackPtr binder = ndk::SharedRefBase::make<PullAtomCallback>(callback, cookie, metadata);
    {
        const ScopedLock lock(mCallbacksLock);
        mCallbacks[atomTag] = binder;
    }
    enqueue({atomTag, std::move(binder)});
}

void PullCallbackTable::clear(int32_t atomTag) {
    {
        const ScopedLock lock(mCallbacksLock);
        mCallbacks.erase(atomTag);
    }
    enqueue({atomTag, nullptr});
}

void PullCallbackTable::enqueue(Command command) {
    static JoinAtExit joinAtExit;
    const ScopedLock lock(mQueueLock);
    mQueue.push_back(std::move(command));
    if (mWorkerRunning) return;
    // Joining under the lock is safe: a worker that cleared mWorkerRunning does not take it again.
    if (mWorker.joinable()) mWorker.join();
    mWorkerRunning = true;
    mWorker = std::thread(&PullCallbackTable::runCommands, this);
}

void PullCallbackTable::join() {
    std::thread worker;
    {
        const ScopedLock lock(mQueueLock);
        worker.swap(mWorker);
    }
    if (worker.joinable()) worker.join();
}

void PullCallbackTable::runCommands() {
    while (std::optional<Command> command = nextCommand()) {
        std::shared_ptr<IStatsd> statsd = this->statsd();
        if (statsd == nullptr) {
            dropCommands();
        } else if (command->callback != nullptr) {
            registerWith(*statsd, command->atomTag, command->callback);
        } else {
            statsd->unregisterNativePullAtomCallback(command->atomTag);
        }
    }
}

std::optional<PullCallbackTable::Command> PullCallbackTable::nextCommand() {
    const ScopedLock lock(mQueueLock);
    if (mQueue.empty()) {
        mWorkerRunning = false;
        return std::nullopt;
    }
    Command command = std::move(mQueue.front());
    mQueue.pop_front();
    return command;
}

void PullCallbackTable::dropCommands() {
    const ScopedLock lock(mQueueLock);
    mQueue.clear();
}

/** Waits up to 5 s, as the platform's pull library does. The call is deprecated because it waits. */
static ndk::SpAIBinder findStatsd() {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    return ndk::SpAIBinder(AServiceManager_getService(kStatsdService));
#pragma GCC diagnostic pop
}

std::shared_ptr<aidl::android::os::IStatsd> PullCallbackTable::statsd() {
    const ScopedLock lock(mStatsdLock);
    if (mStatsd == nullptr) {
        const ndk::SpAIBinder binder = findStatsd();
        mStatsd = IStatsd::fromBinder(binder);
        // The status is not checked, as in the platform's library: a statsd that dies before the
        // link stays cached without a death notice, and the atoms stay unregistered.
        if (mStatsd != nullptr) {
            AIBinder_linkToDeath(binder.get(), mDeathRecipient.get(), this);
        }
    }
    return mStatsd;
}

void PullCallbackTable::onStatsdDied(void* cookie) {
    auto* self = static_cast<PullCallbackTable*>(cookie);
    self->forgetStatsd();
    self->registerAll();
}

void PullCallbackTable::forgetStatsd() {
    std::shared_ptr<IStatsd> dead;  // released after the lock
    const ScopedLock lock(mStatsdLock);
    dead.swap(mStatsd);
}

void PullCallbackTable::registerAll() {
    std::shared_ptr<IStatsd> statsd = this->statsd();
    if (statsd == nullptr) return;
    std::map<int32_t, CallbackPtr> callbacks;
    {
        const ScopedLock lock(mCallbacksLock);
        callbacks = mCallbacks;
    }
    for (const auto& [atomTag, callback] : callbacks) registerWith(*statsd, atomTag, callback);
}

}  // namespace zstats

using zstats::PullCallbackTable;

AStatsManager_PullAtomMetadata* AStatsManager_PullAtomMetadata_obtain() {
    return new AStatsManager_PullAtomMetadata;
}

void AStatsManager_PullAtomMetadata_release(AStatsManager_PullAtomMetadata* metadata) {
    delete metadata;
}

void AStatsManager_PullAtomMetadata_setCoolDownMillis(AStatsManager_PullAtomMetadata* metadata,
                                                      int64_t cool_down_millis) {
    metadata->coolDownMillis = cool_down_millis;
}

void AStatsManager_PullAtomMetadata_setTimeoutMillis(AStatsManager_PullAtomMetadata* metadata,
                                                     int64_t timeout_millis) {
    metadata->timeoutMillis = timeout_millis;
}

void AStatsManager_PullAtomMetadata_setAdditiveFields(AStatsManager_PullAtomMetadata* metadata,
                                                      int32_t* additive_fields, int32_t num_fields) {
    metadata->additiveFields.clear();
    if (num_fields > 0) {
        metadata->additiveFields.assign(additive_fields, additive_fields + num_fields);
    }
}

void AStatsManager_setPullAtomCallback(int32_t atom_tag, AStatsManager_PullAtomMetadata* metadata,
                                       AStatsManager_PullAtomCallback callback, void* cookie) {
    const AStatsManager_PullAtomMetadata defaults;
    PullCallbackTable::instance().set(atom_tag, metadata != nullptr ? *metadata : defaults,
                                      callback, cookie);
}

void AStatsManager_clearPullAtomCallback(int32_t atom_tag) {
    PullCallbackTable::instance().clear(atom_tag);
}
