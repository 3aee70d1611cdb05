#include <aidl/android/os/BnPullAtomResultReceiver.h>
#include <aidl/android/os/IStatsd.h>
#include <aidl/vendor/norda/hardware/handlefactory/IHandleFactory.h>
#include <android/binder_status.h>
#include <binder/Binder.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/InProcessBinder.h"

// The bytes that the generated classes write, and how they decode those of others.

namespace zstats {
namespace {

using aidl::android::os::IPullAtomCallback;
using aidl::android::os::IPullAtomResultReceiver;
using aidl::android::os::IStatsd;
using aidl::android::util::StatsEventParcel;
using aidl::vendor::norda::hardware::handlefactory::HandleResult;
using aidl::vendor::norda::hardware::handlefactory::IHandleFactory;
using android::Parcel;
using android::sp;
using android::status_t;
using android::String16;

/** Words of four bytes in memory order: "01000000 0c000000". */
std::string hex(const uint8_t* bytes, size_t size) {
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        char digits[4];
        snprintf(digits, sizeof(digits), "%02x", bytes[i]);
        text += (i > 0 && i % 4 == 0 ? " " : "") + std::string(digits);
    }
    return text;
}

void writeHex(Parcel* parcel, const std::string& text) {
    for (size_t i = 0; i < text.size(); i += 9) {
        parcel->writeInt32(static_cast<int32_t>(__builtin_bswap32(
                static_cast<uint32_t>(std::stoul(text.substr(i, 8), nullptr, 16)))));
    }
}

/** Records a request's code and the data after its token, and answers with the given words. */
class Recorder : public android::BBinder {
  public:
    Recorder(const char* descriptor, std::string reply)
          : mDescriptor(descriptor), mReply(std::move(reply)) {}

    const String16& getInterfaceDescriptor() const override { return mDescriptor; }

    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (code > LAST_CALL_TRANSACTION) return BBinder::onTransact(code, data, reply, flags);
        if (!data.enforceInterface(mDescriptor)) return android::BAD_TYPE;
        mRequest = std::to_string(code) + ": " +
                   hex(data.data() + data.dataPosition(), data.dataAvail());
        writeHex(reply, mReply);
        return android::OK;
    }

    std::string mRequest;

  private:
    const String16 mDescriptor;
    const std::string mReply;
};

/** The request and the result of `call` through a proxy of Interface. */
template <typename Interface, typename Call>
std::string requestOf(const std::string& reply, const Call& call) {
    const sp<Recorder> recorder(new Recorder(Interface::descriptor, reply));
    const auto remote = inprocess::publish("recorder", recorder);
    call(*Interface::fromBinder(remote->ndkProxy()));
    remote->drainOneway();
    inprocess::reset();
    return recorder->mRequest;
}

TEST(AidlWireTest, writesEachRequestToTheByte) {
    // A null binder: its kind, flags, the object, a cookie, and its stability.
    const std::string nobody = "852a6273 13000000 00000000 00000000 00000000 00000000 00000000";
    EXPECT_EQ(requestOf<IStatsd>(
                      "",
                      [](IStatsd& statsd) {
                          statsd.registerNativePullAtomCallback(9, 1000, -1, {3, 5}, nullptr);
                      }),
              "23: 09000000 e8030000 00000000 ffffffff ffffffff 02000000 03000000 05000000 " +
                      nobody);
    EXPECT_EQ(requestOf<IStatsd>(
                      "", [](IStatsd& statsd) { statsd.unregisterNativePullAtomCallback(9); }),
              "25: 09000000");
    EXPECT_EQ(requestOf<IPullAtomCallback>(
                      "", [](IPullAtomCallback& callback) { callback.onPullAtom(9, nullptr); }),
              "1: 09000000 " + nobody);
    // An element of an array has a single not-null word.
    StatsEventParcel three;
    three.buffer = {7, 2, 1};
    StatsEventParcel one;
    one.buffer = {0xff};
    EXPECT_EQ(requestOf<IPullAtomResultReceiver>("",
                                                 [&](IPullAtomResultReceiver& receiver) {
                                                     receiver.pullFinished(9, true, {three, one});
                                                 }),
              "1: 09000000 01000000 02000000 "
              "01000000 0c000000 03000000 07020100 "
              "01000000 0c000000 01000000 ff000000");
}

TEST(AidlWireTest, readsAnOutParcelable) {
    struct Row {
        const char* reply;
        binder_exception_t exception;
        binder_status_t status;
        int32_t code;
        const char* content;
    };
    const Row rows[] = {
            {"00000000 01000000 10000000 02000000 01000000 61000000", EX_NONE, STATUS_OK, 2, "a"},
            {"00000000 00000000", EX_TRANSACTION_FAILED, STATUS_UNEXPECTED_NULL, 0, ""},
            {"00000000 01000000", EX_TRANSACTION_FAILED, STATUS_NOT_ENOUGH_DATA, 0, ""},
            {"00000000 01000000 03000000", EX_TRANSACTION_FAILED, STATUS_BAD_VALUE, 0, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reply);
        HandleResult result{};
        ndk::ScopedAStatus status;
        EXPECT_EQ(requestOf<IHandleFactory>(row.reply,
                                            [&](IHandleFactory& factory) {
                                                status = factory.readHandle("k", 1, &result);
                                            }),
                  "4: 01000000 6b000000 01000000");
        EXPECT_EQ(status.getExceptionCode(), row.exception);
        EXPECT_EQ(status.getStatus(), row.status);
        EXPECT_EQ(result.code, row.code);
        EXPECT_EQ(result.content, row.content);
    }
}

class Receiver : public aidl::android::os::BnPullAtomResultReceiver {
  public:
    ndk::ScopedAStatus pullFinished(int32_t, bool,
                                    const std::vector<StatsEventParcel>& output) override {
        for (const StatsEventParcel& event : output) {
            mBytes.push_back(hex(event.buffer.data(), event.buffer.size()));
        }
        return ndk::ScopedAStatus::ok();
    }
    std::vector<std::string> mBytes;
};

TEST(AidlWireTest, readsAnArrayOfAnotherCompilersStub) {
    const auto receiver = ndk::SharedRefBase::make<Receiver>();
    const auto remote = inprocess::publish("receiver", receiver->asBinder());
    Parcel request;
    Parcel reply;
    request.writeInterfaceToken(String16(IPullAtomResultReceiver::descriptor));
    writeHex(&request, "09000000 01000000 01000000 01000000 0c000000 03000000 07020100");
    EXPECT_EQ(remote->proxy()->transact(1, request, &reply), android::OK);
    EXPECT_EQ(receiver->mBytes, std::vector<std::string>{"070201"});
}

}  // namespace
}  // namespace zstats
