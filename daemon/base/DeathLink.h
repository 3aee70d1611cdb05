#pragma once

#include <android/binder_ibinder.h>

namespace zstats {

/**
 * Has `onDied` called with `cookie`, on a binder thread, when the process behind `binder` dies. The
 * link lasts until then and cannot be taken back; its recipient is never deleted, since a notice
 * may be on its way at any time. A binder that cannot be linked gives no notice. Any thread.
 */
void linkToDeathForever(AIBinder* binder, AIBinder_DeathRecipient_onBinderDied onDied, void* cookie);

}  // namespace zstats
