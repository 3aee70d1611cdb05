#pragma once

#include <android/binder_ibinder.h>
#include <binder/IBinder.h>

#include <string>

namespace zstats::vdevice {

/** Publishes an NDK service; ends the process with a message if the service manager refuses it. */
void publishOrDie(const std::string& name, AIBinder* binder);

/** The same for a service of the C++ library. */
void publishOrDie(const std::string& name, const android::sp<android::IBinder>& binder);

/** Waits until a service of this name is registered. */
void waitForService(const std::string& name);

/** Starts threads that serve binder calls, and returns. */
void startBinderThreads();

/** Serves binder calls until the process is killed. Returns the process's exit status. */
int serveBinderCalls();

}  // namespace zstats::vdevice
