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

/** Standalone flushes standard output first and logs failures; library does neither. */
enum class RunMode { kStandalone, kLibrary };

/**
 * Opens files on behalf of a running command, with this process's rights. Runs on the thread that
 * waits in the command's call or on a binder thread.
 */
class MyShellCallback : public android::BnShellCallback {
  public:
    /** `errorLog` gets a line for each refusal; it must outlive every reference to this object. */
    explicit MyShellCallback(android::TextOutput& errorLog) : mErrorLog(errorLog) {}

    /**
     * Opens `path`, relative to the current directory, in mode "r", "r+", "w" or "w+". Returns the
     * descriptor, which is then the caller's; -EINVAL for another mode; -EPERM once the command's
     * call has returned or when SELinux does not give `seLinuxContext` the right; -1 when the open
     * fails. An empty context is not checked.
     */
    int openFile(const android::String16& path, const android::String16& seLinuxContext,
                 const android::String16& mode) override;

    /** From now on every openFile is refused. */
    void deactivate() { mActive.store(false); }

  private:
    /**
     * `fd` again when SELinux gives `context` these rights to the file at `path`. Otherwise closes
     * it, then writes a line that says why, and returns no descriptor.
     */
    android::base::unique_fd checked(android::base::unique_fd fd, const std::string& path,
                                     const std::string& context, bool read, bool write);

    android::TextOutput& mErrorLog;
    std::atomic<bool> mActive{true};
};

/** Holds a command's result from its arrival, on a binder thread, until somebody asks for it. */
class MyResultReceiver : public android::BnResultReceiver {
  public:
    void send(int32_t resultCode) override;

    /** The result; blocks, without a limit, until it is there. */
    int32_t waitForResult();

  private:
    android::Mutex mLock;
    android::Condition mArrived;  // on the monotonic clock
    bool mHasResult GUARDED_BY(mLock) = false;
    int32_t mResult GUARDED_BY(mLock) = 0;
};

/** Orders two strings by UTF-16 unit, in the form that android::Vector sorts with. */
int sort_func(const android::String16* lhs, const android::String16* rhs);

/**
 * Runs a service's shell command: [-w] SERVICE [ARGUMENT...], or lists the services: -l. With -w
 * it waits for the service to appear. Returns when the command has sent its result, however long
 * that takes. Any thread; several runs may go on at once.
 *
 * `in`, `out` and `err` are the command's; they stay the caller's and are not used here. Messages
 * go to the two text outputs.
 *
 * Returns the command's result; 0 after a list; 20 without a service manager, arguments or the
 * service; the negative status of a call that failed.
 */
int32_t cmdMain(const std::vector<std::string_view>& argv, android::TextOutput& outputLog,
                android::TextOutput& errorLog, int in, int out, int err, RunMode runMode);

}  // namespace zstats
