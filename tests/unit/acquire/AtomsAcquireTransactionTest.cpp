#include <binder/Parcel.h>
#include <binder/ParcelFileDescriptor.h>
#include <cutils/trace.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <mutex>

#include "acquire/AtomsAcquireService.h"
#include "host/inprocess/InProcessBinder.h"
#include "tests/support/LogCapture.h"

using android::IBinder;
using android::Parcel;
using android::sp;
using android::status_t;
using android::String16;
using android::binder::Status;
using android::os::ParcelFileDescriptor;

namespace {

std::mutex gTraceLock;
std::string gTrace;  // guarded by gTraceLock

void trace(const std::string& text) {
    const std::lock_guard<std::mutex> lock(gTraceLock);
    gTrace += text;
}

std::string takeTrace() {
    const std::lock_guard<std::mutex> lock(gTraceLock);
    return std::exchange(gTrace, "");
}

}  // namespace

// In place of the platform's, which have no tag enabled on this machine.
extern "C" {
uint64_t atrace_get_enabled_tags() {
    return ATRACE_TAG_AIDL;
}
void atrace_begin_body(const char* name) {
    trace(std::string("<") + name);
}
void atrace_end_body() {
    trace(">");
}
}

namespace zstats {
namespace {

constexpr char16_t kDescriptor[] = u"com.norda.quill.IAtomsAcquire";
constexpr uint32_t kInfo = 1;
constexpr uint32_t kRegister = 2;

using Words = std::vector<int32_t>;
using Bytes = std::string;

Bytes bytesOf(const Words& words) {
    return Bytes(reinterpret_cast<const char*>(words.data()), words.size() * sizeof(int32_t));
}

/** The reply of a status with a message: exception, text in 16-bit units, no stack trace. */
Bytes exceptionReply(int32_t exception, const std::string& message) {
    Bytes units;
    for (char c : message + '\0') units += {c, '\0'};
    units.resize((units.size() + 3) / 4 * 4);
    return bytesOf({exception, static_cast<int32_t>(message.size())}) + units + bytesOf({0});
}

struct Row {
    const char* name;
    uint32_t code;
    std::function<void(Parcel& request)> write;
    status_t status;
    Bytes reply;
};

void token(Parcel& request) {
    request.writeInterfaceToken(String16(kDescriptor));
}

std::function<void(Parcel&)> words(Words values) {
    return [values](Parcel& request) {
        token(request);
        for (int32_t value : values) request.writeInt32(value);
    };
}

/** A request with a valid descriptor behind these words, and `trailing` behind that. */
std::function<void(Parcel&)> wordsAndFd(Words values, Words trailing = {}) {
    return [values, trailing](Parcel& request) {
        words(values)(request);
        request.writeDupFileDescriptor(STDERR_FILENO);
        for (int32_t value : trailing) request.writeInt32(value);
    };
}

std::function<void(Parcel&)> foreignToken(const char16_t* descriptor) {
    return [descriptor](Parcel& request) {
        request.writeInterfaceToken(String16(descriptor));
        request.writeInt32(0);
    };
}

const Bytes kNullReply = exceptionReply(-4, "");

Bytes unread(int bytes) {
    return exceptionReply(-2,
                          "Parcel data not fully consumed, unread size: " + std::to_string(bytes));
}

const Row kRows[] = {
        {"InfoOfNothing", kInfo, words({0}), android::OK, bytesOf({0, 0})},
        {"InfoOfSome", kInfo, words({3, 10, -1, 150005}), android::OK, bytesOf({0, 0})},
        {"InfoForeignToken", kInfo, foreignToken(u"com.norda.quill.IOther"), android::BAD_TYPE, ""},
        {"InfoLongerToken", kInfo, foreignToken(u"com.norda.quill.IAtomsAcquire2"),
         android::BAD_TYPE, ""},
        {"InfoWithoutToken", kInfo, [](Parcel&) {}, android::BAD_TYPE, ""},
        {"InfoWithoutIds", kInfo, words({}), android::NOT_ENOUGH_DATA, ""},
        {"InfoNullIds", kInfo, words({-1}), android::OK, kNullReply},
        {"InfoNegativeCount", kInfo, words({INT32_MIN, 1}), android::OK, kNullReply},
        {"InfoShortIds", kInfo, words({3, 10, 11}), android::NOT_ENOUGH_DATA, ""},
        {"InfoShortByOne", kInfo, words({1}), android::NOT_ENOUGH_DATA, ""},
        {"InfoHugeCount", kInfo, words({0x40000000, 1}), android::NOT_ENOUGH_DATA, ""},
        {"InfoLargestCount", kInfo, words({INT32_MAX, 1}), android::NOT_ENOUGH_DATA, ""},
        {"InfoTrailingWord", kInfo, words({1, 10, 0}), android::OK, unread(4)},
        {"InfoTrailingWords", kInfo, words({0, 1, 2, 3}), android::OK, unread(12)},
        {"RegisterForeignToken", kRegister, foreignToken(u"android.os.IStatsd"), android::BAD_TYPE,
         ""},
        {"RegisterWithoutIds", kRegister, words({}), android::NOT_ENOUGH_DATA, ""},
        {"RegisterNullIds", kRegister, wordsAndFd({-1, 1, 0}), android::OK, kNullReply},
        {"RegisterShortIds", kRegister, words({9, 10}), android::NOT_ENOUGH_DATA, ""},
        {"RegisterHugeCount", kRegister, words({INT32_MAX, 10}), android::NOT_ENOUGH_DATA, ""},
        {"RegisterWithoutDescriptor", kRegister, words({1, 10}), android::NOT_ENOUGH_DATA, ""},
        {"RegisterNullDescriptor", kRegister, words({1, 10, 0}), android::OK, kNullReply},
        {"RegisterNumbersForDescriptor", kRegister, words({1, 10, 1, 0, 7, 7, 7, 7, 7, 7}),
         android::BAD_TYPE, ""},
        {"RegisterTrailingWord", kRegister, wordsAndFd({1, 10, 1, 0}, {7}), android::OK, unread(4)},
        {"RegisterTrailingWords", kRegister, wordsAndFd({0, 1, 0}, {7, 8}), android::OK, unread(8)},
        {"NextCode", 3, words({0}), android::UNKNOWN_TRANSACTION, ""},
        {"CodeZero", 0, words({0}), android::UNKNOWN_TRANSACTION, ""},
        {"InterfaceVersion", 0x00fffffe, words({}), android::UNKNOWN_TRANSACTION, ""},
        {"LastCode", IBinder::LAST_CALL_TRANSACTION, words({}), android::UNKNOWN_TRANSACTION, ""},
};

class AtomsAcquireTest : public testing::TestWithParam<Row> {
  protected:
    void TearDown() override { inprocess::reset(); }

    Bytes transact(uint32_t code, const std::function<void(Parcel&)>& write, status_t* status) {
        Parcel request;
        Parcel reply;
        write(request);
        *status = mRemote->proxy()->transact(code, request, &reply);
        return Bytes(reinterpret_cast<const char*>(reply.data()), reply.dataSize());
    }

    const std::shared_ptr<inprocess::RemoteService> mRemote =
            inprocess::publish("atomacq", sp<IBinder>(new AtomsAcquireService));
    LogCapture mLog;
};

TEST_P(AtomsAcquireTest, AnswersToTheByte) {
    status_t status;
    const Bytes reply = transact(GetParam().code, GetParam().write, &status);
    EXPECT_EQ(status, GetParam().status);
    EXPECT_EQ(reply, GetParam().reply);
    EXPECT_FALSE(mLog.contains(ANDROID_LOG_INFO, "checkCallingPermission"));
}

INSTANTIATE_TEST_SUITE_P(Requests, AtomsAcquireTest, testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

TEST_F(AtomsAcquireTest, TellsItsInterface) {
    status_t status;
    const Bytes reply = transact(
            IBinder::INTERFACE_TRANSACTION, [](Parcel&) {}, &status);
    Parcel expected;
    expected.writeString16(String16(kDescriptor));
    EXPECT_EQ(status, android::OK);
    EXPECT_EQ(reply, Bytes(reinterpret_cast<const char*>(expected.data()), expected.dataSize()));
}

TEST_F(AtomsAcquireTest, IsItsOwnLocalInterface) {
    const sp<AtomsAcquireService> service(new AtomsAcquireService);
    EXPECT_EQ(service->queryLocalInterface(String16(kDescriptor)).get(),
              static_cast<IAtomsAcquire*>(service.get()));
    EXPECT_EQ(service->queryLocalInterface(String16(u"com.norda.quill.IOther")), nullptr);
    EXPECT_EQ(IAtomsAcquire::asInterface(service).get(), service.get());
    EXPECT_NE(IAtomsAcquire::asInterface(mRemote->proxy()).get(), service.get());
}

TEST_F(AtomsAcquireTest, TracesCallsWithTheRightToken) {
    const std::string name = "<AIDL::cpp::IAtomsAcquire::";
    struct {
        uint32_t code;
        std::function<void(Parcel&)> write;
        std::string trace;
    } const rows[] = {
            {kInfo, words({0}), name + "getInfoForPulledAtoms::cppServer>"},
            {kInfo, words({}), name + "getInfoForPulledAtoms::cppServer>"},
            {kRegister, words({0}), name + "registerFdForPushedAtoms::cppServer>"},
            {kInfo, foreignToken(u"x"), ""},
            {kRegister, foreignToken(u"x"), ""},
            {3, words({}), ""},
    };
    for (const auto& row : rows) {
        takeTrace();
        status_t status;
        transact(row.code, row.write, &status);
        EXPECT_EQ(takeTrace(), row.trace);
    }
}

TEST_F(AtomsAcquireTest, GivesItsPlaceholderToEveryCaller) {
    for (uid_t uid : {0U, 1000U, 1066U, 2000U, 10123U}) {
        mRemote->setCallerUid(uid);
        std::vector<std::string> info;
        const Status status =
                IAtomsAcquire::asInterface(mRemote->proxy())->getInfoForPulledAtoms({1, 2}, &info);
        EXPECT_TRUE(status.isOk()) << uid;
        EXPECT_TRUE(info.empty());
    }
    EXPECT_EQ(mLog.count(ANDROID_LOG_INFO, "AtomsAcquire pullAtomsAcquire"), 5U);
}

TEST_F(AtomsAcquireTest, TellsAClientWhatWentWrong) {
    const sp<IAtomsAcquire> client = IAtomsAcquire::asInterface(mRemote->proxy());
    const ParcelFileDescriptor fd(android::base::unique_fd(dup(STDERR_FILENO)));
    int32_t ret = 77;
    mRemote->setCallerUid(2000);
    EXPECT_EQ(client->registerFdForPushedAtoms({10}, fd, &ret).serviceSpecificErrorCode(), -1);
    mRemote->die();
    const Status dead = client->registerFdForPushedAtoms({10}, fd, &ret);
    EXPECT_EQ(dead.exceptionCode(), Status::EX_TRANSACTION_FAILED);
    EXPECT_EQ(dead.transactionError(), android::DEAD_OBJECT);
    EXPECT_EQ(ret, 77);
}

}  // namespace
}  // namespace zstats
