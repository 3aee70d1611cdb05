#include <aidl/android/os/IPullAtomCallback.h>
#include <aidl/android/os/IStatsd.h>
#include <aidl/vendor/norda/hardware/handlefactory/IHandleFactory.h>
#include <android-base/hex.h>
#include <android-base/strings.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/InProcessBinder.h"

namespace zstats {
namespace {

using aidl::android::os::IPullAtomCallback;
using aidl::android::os::IPullAtomResultReceiver;
using aidl::android::os::IStatsd;
using aidl::vendor::norda::hardware::handlefactory::HandleResult;
using aidl::vendor::norda::hardware::handlefactory::IHandleFactory;
using android::Parcel;

/** Records a request's code and the data after its token. */
struct Recorder : Claiming {
    using Claiming::Claiming;
    android::status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                 uint32_t flags) override {
        if (code > LAST_CALL_TRANSACTION) return BBinder::onTransact(code, data, reply, flags);
        EXPECT_TRUE(data.enforceInterface(descriptor));
        request = std::to_string(code) + ": " +
                  android::base::HexString(data.data() + data.dataPosition(), data.dataAvail());
        return android::OK;
    }
    std::string request;
};

/** Expects `call` on a proxy of Interface to send this code and these bytes, in words of four. */
template <typename Interface, typename Call>
void expectRequest(const std::string& code, const std::string& words, const Call& call) {
    const android::sp<Recorder> recorder(new Recorder(Interface::descriptor));
    const auto remote = inprocess::publish("recorder", recorder);
    call(*Interface::fromBinder(remote->ndkProxy()));
    remote->drainOneway();
    inprocess::reset();
    EXPECT_EQ(recorder->request, code + android::base::StringReplace(words, " ", "", true));
}

// Both sides of a call in the virtual device are built from the same interfaces.
TEST(AidlWireTest, writesEachRequestToTheByte) {
    // A null binder: its kind, flags, the object, a cookie, and its stability.
    const std::string nobody = "852a6273 13000000 00000000 00000000 00000000 00000000 00000000";
    expectRequest<IStatsd>(
            "23: ",
            "09000000 e8030000 00000000 ffffffff ffffffff 02000000 03000000 05000000" + nobody,
            [](IStatsd& statsd) {
                statsd.registerNativePullAtomCallback(9, 1000, -1, {3, 5}, nullptr);
            });
    expectRequest<IStatsd>("25: ", "09000000",
                           [](IStatsd& statsd) { statsd.unregisterNativePullAtomCallback(9); });
    expectRequest<IPullAtomCallback>("1: ", "09000000" + nobody, [](IPullAtomCallback& callback) {
        callback.onPullAtom(9, nullptr);
    });
    // An element of an array has a single not-null word.
    expectRequest<IPullAtomResultReceiver>(
            "1: ",
            "09000000 01000000 02000000 01000000 0c000000 03000000 07020100 01000000 0c000000 "
            "01000000 ff000000",
            [](IPullAtomResultReceiver& receiver) {
                receiver.pullFinished(9, true, {{{7, 2, 1}}, {{0xff}}});
            });
    expectRequest<IHandleFactory>("4: ", "01000000 6b000000 01000000", [](IHandleFactory& factory) {
        HandleResult unanswered;
        factory.readHandle("k", 1, &unanswered);
    });
}

}  // namespace
}  // namespace zstats
