#pragma once

#include <binder/Binder.h>
#include <binder/IResultReceiver.h>
#include <binder/IShellCallback.h>
#include <binder/Parcel.h>
#include <binder/TextOutput.h>

#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "host/inprocess/InProcessBinder.h"

namespace zstats {

/** A text stream that keeps what was printed. Any thread. */
class TextCapture : public android::TextOutput {
  public:
    android::status_t print(const char* text, size_t length) override {
        const std::lock_guard<std::mutex> lock(mLock);
        mText.append(text, length);
        return android::OK;
    }
    void moveIndent(int) override {}
    void pushBundle() override {}
    void popBundle() override {}

    std::string text() const {
        const std::lock_guard<std::mutex> lock(mLock);
        return mText;
    }

  private:
    mutable std::mutex mLock;
    std::string mText;  // guarded by mLock
};

/** A shell command as a service gets it. The descriptors are the request's. */
struct ShellCall {
    int in;
    int out;
    int err;
    std::vector<std::string> arguments;
    android::sp<android::IBinder> callback;
    android::sp<android::IResultReceiver> receiver;
};

/** A service that answers shell commands, and nothing else, as a test tells it to. */
class FakeCommand : public android::BBinder {
  public:
    /** Its return value is the transaction's status. */
    using Behaviour = std::function<android::status_t(const ShellCall& call)>;

    explicit FakeCommand(Behaviour behaviour) : mBehaviour(std::move(behaviour)) {}
    /** Answers at once with 0. */
    static android::status_t answer(const ShellCall& call);

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override;

  private:
    const Behaviour mBehaviour;
};

/** Publishes a service of that behaviour. */
std::shared_ptr<inprocess::RemoteService> publishCommand(const std::string& name,
                                                         FakeCommand::Behaviour behaviour);

/** The numbers in a directory of /proc/self: "fd" or "task". */
std::set<int> ownEntries(const std::string& directory);

/** Closes descriptors that were opened since `before`, such as those that nobody else closes. */
void closeDescriptorsSince(const std::set<int>& before);

/** Lets other threads run until `condition` holds; false when it never does. */
bool eventually(const std::function<bool()>& condition);

/** Runs `action` on a thread on which these system calls fail with `error`. */
void withFailingCalls(const std::vector<int>& calls, int error, const std::function<void()>& action);

}  // namespace zstats
