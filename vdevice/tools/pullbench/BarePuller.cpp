#include <binder/ProcessState.h>
#include <stats_pull_atom_callback.h>

#include <map>

#include "cli/lib/atoms/AtomCatalogue.h"
#include "vdevice/lib/ServiceMain.h"
#include "vdevice/tools/pullbench/Pullbench.h"

namespace zstats::vdevice {
namespace {

// As the daemon registers its atoms, and serves them.
constexpr int64_t kCoolDownMillis = 1000;
constexpr int64_t kTimeoutMillis = 2000;
constexpr size_t kMaxBinderThreads = 4;

using CallTable = std::map<int32_t, std::vector<BareCall>>;

AStatsManager_PullAtomCallbackReturn answerEmpty(int32_t, AStatsEventList*, void*) {
    return AStatsManager_PULL_SUCCESS;
}

AStatsManager_PullAtomCallbackReturn answerAfterCalls(int32_t tag, AStatsEventList*, void* cookie) {
    for (const BareCall& call : static_cast<CallTable*>(cookie)->at(tag)) call();
    return AStatsManager_PULL_SUCCESS;
}

void registerAtom(int32_t tag, AStatsManager_PullAtomCallback callback, void* cookie) {
    AStatsManager_PullAtomMetadata* terms = AStatsManager_PullAtomMetadata_obtain();
    AStatsManager_PullAtomMetadata_setCoolDownMillis(terms, kCoolDownMillis);
    AStatsManager_PullAtomMetadata_setTimeoutMillis(terms, kTimeoutMillis);
    AStatsManager_setPullAtomCallback(tag, terms, callback, cookie);
    AStatsManager_PullAtomMetadata_release(terms);
}

}  // namespace

int servePuller(bool withCalls) {
    static CallTable calls;
    for (int32_t tag : cli::pulledAtomIds()) registerAtom(tag + kEmptyOffset, answerEmpty, nullptr);
    if (withCalls) {
        for (int32_t tag : cli::pulledAtomIds()) calls[tag + kCallsOffset] = bareCallsOf(tag);
        for (const auto& entry : calls) registerAtom(entry.first, answerAfterCalls, &calls);
    }
    android::ProcessState::self()->setThreadPoolMaxThreadCount(kMaxBinderThreads);
    return serveBinderCalls();
}

}  // namespace zstats::vdevice
