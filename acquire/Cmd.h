#pragma once

#include <android-base/unique_fd.h>
#include <binder/IResultReceiver.h>
#include <binder/IShellCallback.h>
#include <binder/TextOutput.h>
#include <utils/Condition.h>
#include <utils/Mutex.h>
#include <utils/String16.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zstats {

/** kStandalone flushes standard output first and logs failures; kLibrary does not. */
enum class RunMode { kStandalone, kLibrary };

/**
 * Opens files on behalf of a running command, with this process's rights. Called on the thread that
 * waits in the command's call, or on a binder thread.
 */
class MyShellCallback : public android::BnShellCallback {
  public:
    /** Writes a line for each refusal to `errorLog`, which must outlive this object. */
    explicit MyShellCallback(android::TextOutput& errorLog) : mErrorLog(errorLog) {}

    /**
     * Opens `path`, relative to the current directory, in mode "r", "r+", "w" or "w+". Returns the
     * descriptor, which the caller then owns; -EINVAL for another mode; -EPERM after the command's
     * call or when SELinux denies `seLinuxContext` the access; -1 when the open fails. An empty
     * context is not checked.
     */
    int openFile(const android::String16& path, const android::String16& seLinuxContext,
                 const android::String16& mode) override;

    /** Refuses every later openFile. */
    void deactivate() { mActive.store(false); }

  private:
    /**
     * Returns `fd` if SELinux grants `context` these rights to the file at `path`. Otherwise closes
     * it, writes the reason, and returns no descriptor.
     */
    android::base::unique_fd checked(android::base::unique_fd fd, const std::string& path,
                                     const std::string& context, bool read, bool write);

    android::TextOutput& mErrorLog;
    std::atomic<bool> mActive{true};
};

/** Receives a command's result on a binder thread and keeps it for the waiting thread. */
class MyResultReceiver : public android::BnResultReceiver {
  public:
    void send(int32_t resultCode) override;

    /** Returns the result; blocks without a limit until it arrives. */
    int32_t waitForResult();

  private:
    android::Mutex mLock;
    android::Condition mArrived;  // on the monotonic clock
    bool mHasResult GUARDED_BY(mLock) = false;
    int32_t mResult GUARDED_BY(mLock) = 0;
};

/** Orders two strings by UTF-16 unit; the signature is that of android::Vector::sort. */
int sort_func(const android::String16* lhs, const android::String16* rhs);

/**
 * Runs a service's shell command: [-w] SERVICE [ARGUMENT...], or lists the services: -l. With -w
 * it waits for the service to appear. Returns when the command has sent its result, without a time
 * limit. Any thread; several runs may be active at once.
 *
 * `in`, `out` and `err` are passed to the command and stay open. Messages of the client go to the
 * two text outputs.
 *
 * Returns the command's result; 0 after a list; 20 without a service manager, arguments or the
 * service; the negative status of a call that failed.
 */
int32_t cmdMain(const std::vector<std::string_view>& argv, android::TextOutput& outputLog,
                android::TextOutput& errorLog, int in, int out, int err, RunMode runMode);

}  // namespace zstats
