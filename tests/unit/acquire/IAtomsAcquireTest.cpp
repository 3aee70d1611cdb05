#include <binder/Parcel.h>
#include <binder/ParcelFileDescriptor.h>
#include <cutils/trace.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <mutex>

#include "acquire/AtomsAcquireService.h"
#include "host/inprocess/InProcessBinder.h"
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

constexpr char kOurs[] = "com.norda.quill.IAtomsAcquire";
constexpr uint32_t kInfo = 1;
constexpr uint32_t kRegister = 2;
constexpr uint32_t kInterface = IBinder::INTERFACE_TRANSACTION;
constexpr status_t kShort = android::NOT_ENOUGH_DATA;
constexpr status_t kUnknown = android::UNKNOWN_TRANSACTION;

using Words = std::vector<int32_t>;
using Bytes = std::string;

Bytes bytesOf(const Words& words) {
    return Bytes(reinterpret_cast<const char*>(words.data()), words.size() * sizeof(int32_t));
}

/** Text as a parcel holds it: its length, its 16-bit units and a 0 unit, filled up to a word. */
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

Lines refusalLines(const std::string& uid) {
    return {"I AtomsAcquireService checkCallingPermission callingUid =" + uid + "!\n",
            "E AtomsAcquireService::checkCallingPermission calling from invalid uid:" + uid,
            "E AtomsAcquireService checkCallingPermission filded!\n"};
}

/** A request: a token, words, and where a descriptor is wanted that and more words. */
struct Row {
    const char* name;
    uint32_t code;
    const char* token;
    Words words;
    bool descriptor;
    Words trailing;
    status_t status;
    Bytes reply;

    void write(Parcel& request) const {
        if (token != nullptr) request.writeInterfaceToken(String16(token));
        for (int32_t value : words) request.writeInt32(value);
        if (descriptor) request.writeDupFileDescriptor(STDERR_FILENO);
        for (int32_t value : trailing) request.writeInt32(value);
    }
};

const Bytes kNull = exceptionReply(-4, "");

Bytes unread(const char* bytes) {
    return exceptionReply(-2, std::string("Parcel data not fully consumed, unread size: ") + bytes);
}

const Bytes kNoInfo = bytesOf({0, 0});
const Bytes kRefusal = bytesOf({-8, 0, 0, 0, -1});

const Row kRows[] = {
        {"InfoOfNothing", kInfo, kOurs, {0}, false, {}, OK, kNoInfo},
        {"InfoOfSome", kInfo, kOurs, {3, 10, -1, 150005}, false, {}, OK, kNoInfo},
        {"InfoLongerToken", kInfo, "com.norda.quill.IAtomsAcquire2", {0}, false, {}, BAD_TYPE, ""},
        {"InfoWithoutToken", kInfo, nullptr, {}, false, {}, BAD_TYPE, ""},
        {"InfoWithoutIds", kInfo, kOurs, {}, false, {}, kShort, ""},
        {"InfoNullIds", kInfo, kOurs, {-1}, false, {}, OK, kNull},
        {"InfoNegativeCount", kInfo, kOurs, {INT32_MIN, 1}, false, {}, OK, kNull},
        {"InfoShortByOne", kInfo, kOurs, {3, 10, 11}, false, {}, BAD_VALUE, ""},
        {"InfoHugeCount", kInfo, kOurs, {0x40000000, 1}, false, {}, BAD_VALUE, ""},
        {"InfoTrailing", kInfo, kOurs, {1, 10, 0}, false, {}, OK, unread("4")},
        {"FdForeignToken", kRegister, "android.os.IStatsd", {0}, false, {}, BAD_TYPE, ""},
        {"FdWithoutIds", kRegister, kOurs, {}, false, {}, kShort, ""},
        {"FdNullIds", kRegister, kOurs, {-1, 1, 0}, true, {}, OK, kNull},
        {"FdHugeCount", kRegister, kOurs, {INT32_MAX, 10}, false, {}, BAD_VALUE, ""},
        {"FdWithoutFd", kRegister, kOurs, {1, 10}, false, {}, kShort, ""},
        {"FdNullFd", kRegister, kOurs, {1, 10, 0}, false, {}, OK, kNull},
        {"FdNoFd", kRegister, kOurs, {0, 1, 0, 7, 7, 7}, false, {}, BAD_TYPE, ""},
        {"FdTrailing", kRegister, kOurs, {0, 1, 0}, true, {7, 8}, OK, unread("8")},
        {"FdRefused", kRegister, kOurs, {1, 10, 1, 0}, true, {}, OK, kRefusal},
        {"NextCode", 3, kOurs, {0}, false, {}, kUnknown, ""},
        {"CodeZero", 0, kOurs, {0}, false, {}, kUnknown, ""},
        {"InterfaceVersion", 0x00fffffe, kOurs, {}, false, {}, kUnknown, ""},
        {"Interface", kInterface, nullptr, {}, false, {}, OK, textBytes(kOurs)},
};

/** The trace of a request: a section for those of the two calls that bring the right token. */
std::string expectedTrace(const Row& row) {
    if (row.token != kOurs || row.code < kInfo || row.code > kRegister) return "";
    const char* call = row.code == kInfo ? "getInfoForPulledAtoms" : "registerFdForPushedAtoms";
    return std::string("<AIDL::cpp::IAtomsAcquire::") + call + "::cppServer>";
}

class IAtomsAcquireTest : public testing::Test {
  protected:
    ~IAtomsAcquireTest() override { inprocess::reset(); }

    const sp<AtomsAcquireService> mService{new AtomsAcquireService};
    const std::shared_ptr<inprocess::RemoteService> mRemote =
            inprocess::publish("atomacq", sp<IBinder>(mService));
    LogCapture mLog;
};

/** The caller is one of those who may ask for the empty information, and for nothing else. */
TEST_F(IAtomsAcquireTest, AnswersToTheByteAndTracesItsCalls) {
    mRemote->setCallerUid(1066);
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        takeTrace();
        Parcel request;
        Parcel reply;
        row.write(request);
        EXPECT_EQ(mRemote->proxy()->transact(row.code, request, &reply), row.status);
        EXPECT_EQ(Bytes(reinterpret_cast<const char*>(reply.data()), reply.dataSize()), row.reply);
        EXPECT_EQ(takeTrace(), expectedTrace(row));
        EXPECT_EQ(mLog.take(), row.reply == kNoInfo    ? Lines{"I AtomsAcquire pullAtomsAcquire"}
                               : row.reply == kRefusal ? refusalLines("1066")
                                                       : Lines{});
    }
}

TEST_F(IAtomsAcquireTest, SubscribesForRootAndSystemAlone) {
    const sp<IAtomsAcquire> client = IAtomsAcquire::asInterface(mRemote->proxy());
    const ParcelFileDescriptor fd(android::base::unique_fd(dup(STDERR_FILENO)));
    publishCommand("stats", FakeCommand::answer);
    for (const uid_t uid : {0U, 1000U, 1U, 999U, 1001U, 1066U, 2000U, 101000U, UINT32_MAX}) {
        SCOPED_TRACE(uid);
        const bool allowed = uid == 0 || uid == 1000;
        int32_t ret = 77;
        mRemote->setCallerUid(uid);
        const Status status = client->registerFdForPushedAtoms({10}, fd, &ret);
        EXPECT_EQ(status.exceptionCode(), allowed ? Status::EX_NONE : Status::EX_SERVICE_SPECIFIC);
        EXPECT_EQ(status.serviceSpecificErrorCode(), allowed ? 0 : -1);
        EXPECT_EQ(ret, allowed ? 1 : 77);
        if (allowed) mLog.waitFor("AtomsAcquire cmdMain done!!!\n");
        const Lines lines = mLog.take();
        const Lines refusal = refusalLines(std::to_string(static_cast<int>(uid)));
        EXPECT_EQ(lines[0], refusal[0]);
        EXPECT_EQ(lines == refusal, !allowed) << testing::PrintToString(lines);
    }
}

TEST_F(IAtomsAcquireTest, IsItsOwnLocalInterface) {
    EXPECT_EQ(mService->queryLocalInterface(String16(kOurs)).get(),
              static_cast<IAtomsAcquire*>(mService.get()));
    EXPECT_EQ(mService->queryLocalInterface(String16("com.norda.quill.IOther")), nullptr);
    EXPECT_NE(IAtomsAcquire::asInterface(mRemote->proxy()).get(), mService.get());
}

/** A service whose replies are these words. */
struct Answering : android::BBinder {
    const String16& getInterfaceDescriptor() const override { return descriptor; }
    status_t onTransact(uint32_t, const Parcel& data, Parcel* reply, uint32_t) override {
        request = Bytes(reinterpret_cast<const char*>(data.data()), data.dataSize());
        for (const int32_t word : words) reply->writeInt32(word);
        return OK;
    }

    const String16 descriptor{kOurs};
    Words words;
    Bytes request;
};

TEST_F(IAtomsAcquireTest, ClientSendsTheCallAndTakesOutValuesOfAnOkReplyAlone) {
    const sp<Answering> service(new Answering);
    const auto remote = inprocess::publish("atomacq", sp<IBinder>(service));
    const sp<IAtomsAcquire> client = IAtomsAcquire::asInterface(remote->proxy());
    const ParcelFileDescriptor fd(android::base::unique_fd(dup(STDERR_FILENO)));
    const Words refused = {-8, 0, 0, 0, -1};
    const auto endsWith = [&](const Bytes& end) {
        return service->request.size() > end.size() &&
               service->request.compare(service->request.size() - end.size(), end.size(), end) == 0;
    };

    int32_t ret = 77;
    service->words = {0, -5};
    EXPECT_TRUE(client->registerFdForPushedAtoms({10, -1}, fd, &ret).isOk());
    EXPECT_EQ(ret, -5);
    service->words = refused;
    EXPECT_EQ(client->registerFdForPushedAtoms({10}, fd, &ret).serviceSpecificErrorCode(), -1);
    service->words = {0};
    EXPECT_EQ(client->registerFdForPushedAtoms({10}, fd, &ret).transactionError(), kShort);

    std::vector<std::string> info = {"kept"};
    service->words = refused;
    EXPECT_EQ(client->getInfoForPulledAtoms({10}, &info).serviceSpecificErrorCode(), -1);
    EXPECT_EQ(info, Lines{"kept"});
    service->words = {0, 1, 1, 'a'};
    EXPECT_TRUE(client->getInfoForPulledAtoms({10, -1}, &info).isOk());
    EXPECT_EQ(info, Lines{"a"});
    EXPECT_TRUE(endsWith(bytesOf({2, 10, -1})));
    service->words = {0};
    EXPECT_EQ(client->getInfoForPulledAtoms({10}, &info).transactionError(), kShort);

    remote->die();
    EXPECT_EQ(client->getInfoForPulledAtoms({10}, &info).transactionError(), android::DEAD_OBJECT);
    const Status dead = client->registerFdForPushedAtoms({10}, fd, &ret);
    EXPECT_EQ(dead.exceptionCode(), Status::EX_TRANSACTION_FAILED);
    EXPECT_EQ(dead.transactionError(), android::DEAD_OBJECT);
    EXPECT_EQ(ret, -5);
}

}  // namespace
}  // namespace zstats
