#pragma once

#include <android/binder_ibinder.h>

namespace zstats {

/**
 * Has `onDied` called with `cookie`, on a binder thread, when the process behind `binder` dies. The
 * recipient behind the link is never deleted: connections are rare, and nothing would tell when
 * the last notice has been given. A binder that cannot be linked is left without a notice.
 */
void linkToDeathForever(AIBinder* binder, AIBinder_DeathRecipient_onBinderDied onDied, void* cookie);

}  // namespace zstats
