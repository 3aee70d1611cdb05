#pragma once

#include <android/binder_ibinder.h>

namespace zstats {

/**
 * Calls `onDied` with `cookie`, on a binder thread, when the process behind `binder` dies. The link
 * cannot be removed, and its recipient is never deleted, because a notice may be pending at any
 * time. A binder that cannot be linked gives no notice. Any thread.
 */
void linkToDeathForever(AIBinder* binder, AIBinder_DeathRecipient_onBinderDied onDied, void* cookie);

}  // namespace zstats
