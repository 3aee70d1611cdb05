#pragma once

#include <android/binder_auto_utils.h>
#include <binder/IBinder.h>
#include <utils/StrongPointer.h>

namespace zstats {

/** The service manager's answer. */
struct ServiceLookup {
    bool managerFound;                     // false: the process has no service manager
    android::sp<android::IBinder> binder;  // null: no such service is published
};

/** Asks for the service `name` and does not wait for it. Any thread. */
ServiceLookup lookUpService(const char* name);

/**
 * The service that a vendor publishes as "DESCRIPTOR/default"; null when it is absent. Does not
 * wait, because a pull has to be answered while the service is starting. Any thread.
 */
ndk::SpAIBinder lookUpDefaultInstance(const char* descriptor);

}  // namespace zstats
