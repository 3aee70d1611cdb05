#include <aidl/android/os/BnPullAtomResultReceiver.h>
#include <aidl/android/os/IPendingIntentRef.h>
#include <aidl/vendor/norda/hardware/handlefactory/IHandleFactory.h>
#include <android/binder_status.h>
#include <binder/Binder.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "host/inprocess/InProcessBinder.h"

// The bytes that the generated classes put on the wire, and what they make of those of others.

namespace zstats {
namespace {

using aidl::android::os::IPendingIntentRef;
using aidl::android::os::IPullAtomResultReceiver;
using aidl::android::os::StatsDimensionsValueParcel;
using aidl::android::util::StatsEventParcel;
using aidl::vendor::norda::hardware::handlefactory::HandleResult;
using aidl::vendor::norda::hardware::handlefactory::IHandleFactory;
using android::Parcel;
using android::sp;
using android::status_t;
using android::String16;

/** Words of four bytes as they lie in memory, "01000000 0c000000". */
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

/** Keeps the request behind its token, and answers with the given words. */
class Recorder : public android::BBinder {
  public:
    Recorder(const char* descriptor, std::string reply)
          : mDescriptor(descriptor), mReply(std::move(reply)) {}

    const String16& getInterfaceDescriptor() const override { return mDescriptor; }

    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (code > LAST_CALL_TRANSACTION) return BBinder::onTransact(code, data, reply, flags);
        if (!data.enforceInterface(mDescriptor)) return android::BAD_TYPE;
        mRequest = hex(data.data() + data.dataPosition(), data.dataAvail());
        writeHex(reply, mReply);
        return android::OK;
    }

    std::string mRequest;

  private:
    const String16 mDescriptor;
    const std::string mReply;
};

/** What `call` sends through a proxy of Interface, and gets back. */
template <typename Interface, typename Call>
std::string requestOf(const std::string& reply, const Call& call) {
    const sp<Recorder> recorder(new Recorder(Interface::descriptor, reply));
    const auto remote = inprocess::publish("recorder", recorder);
    call(*Interface::fromBinder(remote->ndkProxy()));
    remote->drainOneway();
    inprocess::reset();
    return recorder->mRequest;
}

StatsEventParcel event(std::vector<uint8_t> bytes) {
    StatsEventParcel parcel;
    parcel.buffer = std::move(bytes);
    return parcel;
}

TEST(AidlWireTest, anElementOfAnArrayIsNotNullOnce) {
    EXPECT_EQ(requestOf<IPullAtomResultReceiver>(
                      "",
                      [](IPullAtomResultReceiver& receiver) {
                          receiver.pullFinished(9, true, {event({7, 2, 1}), event({0xff})});
                      }),
              "09000000 01000000 02000000 "
              "01000000 0c000000 03000000 07020100 "
              "01000000 0c000000 01000000 ff000000");
}

TEST(AidlWireTest, aSingleParcelableIsNotNullOnce) {
    StatsDimensionsValueParcel inner;
    inner.field = 3;
    StatsDimensionsValueParcel outer;
    outer.field = 2;
    outer.stringValue = "a";
    outer.boolValue = true;
    outer.tupleValue = {inner};
    EXPECT_EQ(requestOf<IPendingIntentRef>("",
                                           [&](IPendingIntentRef& ref) {
                                               ref.sendSubscriberBroadcast(4, 5, 6, 7, {}, outer);
                                           }),
              "04000000 00000000 05000000 00000000 06000000 00000000 07000000 00000000 00000000 "
              "01000000 5c000000 02000000 00000000 01000000 61000000 00000000 00000000 00000000 "
              "01000000 00000000 01000000 "
              "01000000 2c000000 03000000 00000000 00000000 00000000 00000000 00000000 00000000 "
              "00000000 00000000 00000000");
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
                  "01000000 6b000000 01000000");
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
