#pragma once

#include <binder/Binder.h>
#include <binder/IResultReceiver.h>
#include <binder/IShellCallback.h>
#include <binder/Parcel.h>
#include <binder/TextOutput.h>
#include <utils/String8.h>

#include <functional>
#include <mutex>
#include <string>
#include <utility>

#include "tests/support/InProcessBinder.h"
#include "tests/support/LogCapture.h"

namespace zstats {

/** A text stream that records its text. Any thread. */
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

    /** The text since the last take. */
    std::string take() {
        const std::lock_guard<std::mutex> lock(mLock);
        return std::exchange(mText, "");
    }

  private:
    std::mutex mLock;
    std::string mText;  // guarded by mLock
};

/** A shell command as a service receives it. The request owns the descriptors. */
struct ShellCall {
    int in;
    int out;
    int err;
    Lines arguments;
    android::sp<android::IShellCallback> callback;
    android::sp<android::IResultReceiver> receiver;
};

/** A service that answers only shell commands, as a test specifies. */
class FakeCommand : public android::BBinder {
  public:
    /** Its return value is the transaction's status. */
    using Behaviour = std::function<android::status_t(const ShellCall& call)>;

    explicit FakeCommand(Behaviour behaviour) : mBehaviour(std::move(behaviour)) {}

    /** Answers at once with 0. */
    static android::status_t answer(const ShellCall& call) {
        call.receiver->send(0);
        return android::OK;
    }

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        if (code != SHELL_COMMAND_TRANSACTION) return BBinder::onTransact(code, data, reply, flags);
        ShellCall call;
        call.in = data.readFileDescriptor();
        call.out = data.readFileDescriptor();
        call.err = data.readFileDescriptor();
        for (int32_t count = data.readInt32(); count > 0; --count) {
            call.arguments.emplace_back(android::String8(data.readString16()).c_str());
        }
        call.callback = android::interface_cast<android::IShellCallback>(data.readStrongBinder());
        call.receiver = android::interface_cast<android::IResultReceiver>(data.readStrongBinder());
        return mBehaviour(call);
    }

  private:
    const Behaviour mBehaviour;
};

/** Publishes a service with this behaviour. */
inline std::shared_ptr<inprocess::RemoteService> publishCommand(const std::string& name,
                                                                FakeCommand::Behaviour behaviour) {
    return inprocess::publish(name,
                              android::sp<android::IBinder>(new FakeCommand(std::move(behaviour))));
}

}  // namespace zstats
