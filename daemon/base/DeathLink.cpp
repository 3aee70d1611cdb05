#include "daemon/base/DeathLink.h"

#include <vector>

#include "daemon/base/Mutex.h"

namespace zstats {
namespace {

/** Keeps a recipient reachable, so that a leak checker does not report it. */
void keepForever(AIBinder_DeathRecipient* recipient) {
    struct Kept {
        Mutex lock;
        std::vector<AIBinder_DeathRecipient*> recipients GUARDED_BY(lock);
    };
    static auto* const kept = new Kept;
    const ScopedLock lock(kept->lock);
    kept->recipients.push_back(recipient);
}

}  // namespace

void linkToDeathForever(AIBinder* binder, AIBinder_DeathRecipient_onBinderDied onDied,
                        void* cookie) {
    AIBinder_DeathRecipient* recipient = AIBinder_DeathRecipient_new(onDied);
    keepForever(recipient);
    static_cast<void>(AIBinder_linkToDeath(binder, recipient, cookie));
}

}  // namespace zstats
