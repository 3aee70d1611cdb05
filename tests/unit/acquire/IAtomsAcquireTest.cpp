#include <binder/Parcel.h>
#include <binder/ParcelFileDescriptor.h>
#include <binder/Stability.h>
#include <cutils/trace.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "acquire/AtomsAcquireService.h"
#include "tests/support/InProcessBinder.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/acquire/AcquireKit.h"

using android::BAD_TYPE;
using android::BAD_VALUE;
using android::IBinder;
using android::OK;
using android::Parcel;
using android::sp;
using android::status_t;
using android::String16;
using android::binder::Status;
using android::os::ParcelFileDescriptor;

// Replace the platform's functions, whose tags are disabled on a PC, and record the sections.
namespace {
thread_local std::string gTrace;
}
extern "C" {
uint64_t atrace_get_enabled_tags() {
    return ATRACE_TAG_AIDL;
}
void atrace_begin_body(const char* name) {
    gTrace += std::string("<") + name;
}
void atrace_end_body() {
    gTrace += ">";
}
}

namespace zstats {
namespace {

constexpr char kOurs[] = "com.norda.quill.IAtomsAcquire";
constexpr uint32_t kInfo = 1;
constexpr uint32_t kRegister = 2;
constexpr status_t kShort = android::NOT_ENOUGH_DATA;
constexpr status_t kUnknown = android::UNKNOWN_TRANSACTION;
constexpr int32_t kFd = 0xfd;  // stands for a descriptor in the words of a request

using Words = std::vector<int32_t>;
using Bytes = std::string;

Bytes bytesOf(const Words& words) {
    return Bytes(reinterpret_cast<const char*>(words.data()), words.size() * sizeof(int32_t));
}
Bytes bytesOf(const Parcel& parcel) {
    return Bytes(reinterpret_cast<const char*>(parcel.data()), parcel.dataSize());
}

/** Text in a parcel: its length, its 16-bit units and a 0 unit, padded to a word. */
Bytes textBytes(const std::string& text) {
    Bytes units;
    for (char c : text + '\0') units += {c, '\0'};
    units.resize((units.size() + 3) / 4 * 4);
    return bytesOf({static_cast<int32_t>(text.size())}) + units;
}

/** The reply of a status with a message and without a stack trace. */
Bytes exceptionReply(int32_t exception, const std::string& message) {
    return bytesOf({exception}) + textBytes(message) + bytesOf({0});
}
Bytes unread(const char* bytes) {
    return exceptionReply(-2, std::string("Parcel data not fully consumed, unread size: ") + bytes);
}

Lines refusalLines(const std::string& uid) {
    return {"I AtomsAcquireService checkCallingPermission callingUid =" + uid + "!\n",
            "E AtomsAcquireService::checkCallingPermission calling from invalid uid:" + uid,
            "E AtomsAcquireService checkCallingPermission filded!\n"};
}

class IAtomsAcquireTest : public testing::Test {
  protected:
    IAtomsAcquireTest() { gLogLevel = 0; }  // all lines are ungated
    ~IAtomsAcquireTest() override { inprocess::reset(); }

    const sp<AtomsAcquireService> mService{new AtomsAcquireService};
    const std::shared_ptr<inprocess::RemoteService> mRemote =
            inprocess::publish("atomacq", sp<IBinder>(mService));
    const ParcelFileDescriptor mFd{android::base::unique_fd(dup(STDERR_FILENO))};
    LogCapture mLog;
};

/** The caller may only ask for the empty information. */
TEST_F(IAtomsAcquireTest, AnswersToTheByteAndTracesItsCalls) {
    const Bytes noInfo = bytesOf({0, 0});
    const Bytes refusal = bytesOf({-8, 0, 0, 0, -1});
    const Bytes null = exceptionReply(-4, "");
    const struct {
        uint32_t code;
        const char* token;
        Words words;
        status_t status;
        Bytes reply;
    } rows[] = {{kInfo, kOurs, {0}, OK, noInfo},
                {kInfo, kOurs, {3, 10, -1, 150005}, OK, noInfo},
                {kInfo, "com.norda.quill.IAtomsAcquire2", {0}, BAD_TYPE, ""},
                {kInfo, nullptr, {}, BAD_TYPE, ""},
                {kInfo, kOurs, {}, kShort, ""},
                {kInfo, kOurs, {-1}, OK, null},
                {kInfo, kOurs, {INT32_MIN, 1}, OK, null},
                {kInfo, kOurs, {3, 10, 11}, BAD_VALUE, ""},
                {kInfo, kOurs, {0x40000000, 1}, BAD_VALUE, ""},
                {kInfo, kOurs, {1, 10, 0}, OK, unread("4")},
                {kRegister, "android.os.IStatsd", {0}, BAD_TYPE, ""},
                {kRegister, kOurs, {}, kShort, ""},
                {kRegister, kOurs, {-1, 1, 0, kFd}, OK, null},
                {kRegister, kOurs, {INT32_MAX, 10}, BAD_VALUE, ""},
                {kRegister, kOurs, {1, 10}, kShort, ""},
                {kRegister, kOurs, {1, 10, 0}, OK, null},
                {kRegister, kOurs, {0, 1, 0, 7, 7, 7}, BAD_TYPE, ""},
                {kRegister, kOurs, {0, 1, 0, kFd, 7, 8}, OK, unread("8")},
                {kRegister, kOurs, {1, 10, 1, 0, kFd}, OK, refusal},
                {3, kOurs, {0}, kUnknown, ""},
                {0, kOurs, {0}, kUnknown, ""},
                {0x00fffffe, kOurs, {}, kUnknown, ""},  // asks for a version
                {IBinder::INTERFACE_TRANSACTION, nullptr, {}, OK, textBytes(kOurs)}};
    const char* const sections[] = {
            "", "<AIDL::cpp::IAtomsAcquire::getInfoForPulledAtoms::cppServer>",
            "<AIDL::cpp::IAtomsAcquire::registerFdForPushedAtoms::cppServer>"};
    mRemote->setCallerUid(1066);
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.code) + " with " + testing::PrintToString(row.words));
        Parcel request;
        Parcel reply;
        if (row.token != nullptr) request.writeInterfaceToken(String16(row.token));
        for (const int32_t word : row.words) {
            word == kFd ? request.writeDupFileDescriptor(STDERR_FILENO) : request.writeInt32(word);
        }
        gTrace.clear();
        EXPECT_EQ(mRemote->proxy()->transact(row.code, request, &reply), row.status);
        EXPECT_EQ(bytesOf(reply), row.reply);
        EXPECT_EQ(mLog.take(), row.reply == noInfo    ? Lines{"I AtomsAcquire pullAtomsAcquire"}
                               : row.reply == refusal ? refusalLines("1066")
                                                      : Lines{});
        const bool isCall = row.token == kOurs && row.code < std::size(sections);
        EXPECT_EQ(gTrace, isCall ? sections[row.code] : "");
    }
}

TEST_F(IAtomsAcquireTest, SubscribesForRootAndSystemAlone) {
    const sp<IAtomsAcquire> client = IAtomsAcquire::asInterface(mRemote->proxy());
    publishCommand("stats", FakeCommand::answer);
    for (const uid_t uid : {0U, 1000U, 1U, 999U, 1001U, 101000U, UINT32_MAX}) {
        SCOPED_TRACE(uid);
        const bool allowed = uid == 0 || uid == 1000;
        const Lines refusal = refusalLines(std::to_string(static_cast<int>(uid)));
        int32_t ret = 77;
        mRemote->setCallerUid(uid);
        const std::vector<int32_t> ids(uid == 0 ? 0 : 1, 10);  // an empty list is valid
        const Status status = client->registerFdForPushedAtoms(ids, mFd, &ret);
        EXPECT_EQ(status.serviceSpecificErrorCode(), allowed ? 0 : -1);
        EXPECT_EQ(ret, allowed ? 1 : 77);
        if (ret == 1) mLog.waitFor("AtomsAcquire cmdMain done!!!\n");
        const Lines lines = mLog.take();
        EXPECT_EQ(lines[0], refusal[0]);
        EXPECT_EQ(lines == refusal, !allowed) << testing::PrintToString(lines);
    }
}

TEST_F(IAtomsAcquireTest, IsItsOwnLocalInterfaceOfTheSystem) {
    EXPECT_EQ(android::internal::Stability::debugToString(sp<AtomsAcquireService>::make()),
              "system stability");
    EXPECT_EQ(mService->queryLocalInterface(String16(kOurs)).get(),
              static_cast<IAtomsAcquire*>(mService.get()));
    EXPECT_EQ(mService->queryLocalInterface(String16("com.norda.quill.IOther")), nullptr);
    EXPECT_NE(IAtomsAcquire::asInterface(mRemote->proxy()).get(), mService.get());
}

/** A service that replies with these words. */
struct Answering : Claiming {
    using Claiming::Claiming;
    status_t onTransact(uint32_t, const Parcel& data, Parcel* reply, uint32_t) override {
        request = bytesOf(data);
        for (const int32_t word : words) reply->writeInt32(word);
        return OK;
    }

    Words words;
    Bytes request;
};

TEST_F(IAtomsAcquireTest, ClientTakesOutValuesOfAnOkReplyAlone) {
    const sp<Answering> service(new Answering(kOurs));
    const auto remote = inprocess::publish("atomacq", sp<IBinder>(service));
    const sp<IAtomsAcquire> client = IAtomsAcquire::asInterface(remote->proxy());
    int32_t ret = 77;
    std::vector<std::string> info = {"kept"};
    const auto expectBoth = [&](const Words& words, status_t transport, int32_t error) {
        service->words = words;
        for (const Status& status : {client->registerFdForPushedAtoms({10, -1}, mFd, &ret),
                                     client->getInfoForPulledAtoms({10, -1}, &info)}) {
            EXPECT_EQ(status.transactionError(), transport);
            EXPECT_EQ(status.serviceSpecificErrorCode(), error);
        }
    };
    expectBoth({-8, 0, 0, 0, -1}, OK, -1);
    expectBoth({0}, kShort, 0);
    EXPECT_EQ(ret, 77);
    EXPECT_EQ(info, Lines{"kept"});
    expectBoth({0, 1, 1, 'a'}, OK, 0);
    EXPECT_EQ(ret, 1);
    EXPECT_EQ(info, Lines{"a"});
    const Bytes ids = bytesOf({2, 10, -1});
    EXPECT_EQ(service->request.substr(service->request.size() - ids.size()), ids);
    remote->die();
    expectBoth({}, android::DEAD_OBJECT, 0);
}

}  // namespace
}  // namespace zstats
