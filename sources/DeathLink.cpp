#include "sources/DeathLink.h"

#include <mutex>
#include <vector>

namespace zstats {
namespace {

/** Keeps a recipient reachable, so that a leak checker tells it from a forgotten one. */
void keepForever(AIBinder_DeathRecipient* recipient) {
    static auto* const lock = new std::mutex;
    static auto* const recipients = new std::vector<AIBinder_DeathRecipient*>;
    const std::lock_guard<std::mutex> guard(*lock);
    recipients->push_back(recipient);
}

}  // namespace

void linkToDeathForever(AIBinder* binder, AIBinder_DeathRecipient_onBinderDied onDied,
                        void* cookie) {
    AIBinder_DeathRecipient* recipient = AIBinder_DeathRecipient_new(onDied);
    keepForever(recipient);
    static_cast<void>(AIBinder_linkToDeath(binder, recipient, cookie));
}

}  // namespace zstats
