#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <utils/String16.h>

#include <thread>

#include "readers/ThermalReader.h"
#include "tests/support/AtomTest.h"

// The linker redirects writeInterfaceToken here (--wrap).
namespace {
thread_local android::status_t gTokenStatus = android::OK;
}
extern "C" android::status_t __wrap__ZN7android6Parcel19writeInterfaceTokenERKNS_8String16E(
        android::Parcel* self, const android::String16& token) {
    return gTokenStatus != android::OK ? gTokenStatus
                                       : self->writeInterfaceToken(token.c_str(), token.size());
}

namespace zstats {
namespace {

using android::IBinder;
using android::sp;
using Ints = std::vector<int>;

constexpr int kStatus = -1;  // besides the temperature types

constexpr char kConnected[] = "D2 ThermalReader Calda Binder already exists";
constexpr char kLinked[] = "D2 ThermalReader Calda Binder linked";
constexpr char kSizes[] = "I1 ThermalReader get all shell temperature return invalid vec size";
const Lines kDied = {"D2 ThermalReader enter binderDied", "I1 ThermalReader calda binderDied!"};

class ThermalReaderTest : public AtomTest {
  protected:
    /** Expects a query to log these lines and to return "RESULT { VALUE, ... }". */
    void expectAnswer(ThermalReader& reader, int type, const Transcript& expected) {
        SCOPED_TRACE(type);
        expectAtLevels(expected, [&] {
            Ints out = {99};
            const auto asked = static_cast<ThermalReader::TemperatureType>(type);
            const int result = type == kStatus ? reader.getThermalStatus(out[0])
                                               : reader.getTemperatureInMilliCelsius(asked, out);
            Transcript told = lines();
            told.push_back(std::to_string(result) + " " + testing::PrintToString(out));
            return told;
        });
    }
};

TEST_F(ThermalReaderTest, repliesAreReadByType) {
    FakeCalda calda;
    ThermalReader reader;
    const std::string exception = "E ThermalReader transact reply exception: ";
    const std::tuple<int, Ints, Transcript> rows[] = {
            {1, {4, 4, 41000, 38000, 37500, 36900}, {"0 { 41000 }"}},
            {2, {4, 9, 41000, 1, -2, 3, 4}, {"0 { 1, -2, 3 }"}},
            {2, {4, 4, 41000, 1}, {"0 { 1, 0, 0 }"}},  // words after the end read as 0
            {1, {3, 4, 41000}, {kSizes, "-1 {}"}},
            {1, {4, 3, 41000}, {kSizes, "-1 {}"}},
            {1, {-1, 4, 41000}, {kSizes, "-1 {}"}},
            {2, {4, -1, 41000, 1, 2, 3}, {kSizes, "-1 {}"}},
            {2, {}, {kSizes, "-1 {}"}},
            {0, {35}, {"0 { 35000 }"}},
            {0, {-7, 1}, {"0 { -7000 }"}},
            {0, {}, {"0 { 0 }"}},
            {0, {2147484}, {"0 { -2147483296 }"}},  // wraps
            {3, {4, 4, 1}, {"I1 ThermalReader revieved invalid temperature type: 3", "-1 {}"}},
            {kStatus, {-3, 5}, {exception + "-3", "-1 { 99 }"}},
            {kStatus, {1, 5}, {exception + "1", "-1 { 99 }"}},
            {kStatus, {0, -5}, {"0 { -5 }"}},
            {kStatus, {}, {"0 { 0 }"}}};
    for (auto [type, reply, expected] : rows) {
        SCOPED_TRACE(testing::PrintToString(reply));
        for (const uint32_t code : {4, 21, 25}) calda.set(code, {9, 9, 9});
        calda.set(type == kStatus ? 4 : type == 0 ? 25 : 21, reply);
        expected.insert(expected.begin(), kConnected);
        expectAnswer(reader, type, expected);
    }
    gTokenStatus = -12;
    expectAnswer(reader, 1,
                 {"E ThermalReader writeInterfaceToken calda failed! status: -12", "-1 { 99 }"});
    gTokenStatus = android::OK;
    // A failed transaction fails only the status; the temperatures read an empty reply.
    for (const int error : {-110, 1}) {
        calda.remote().failCalls(error);
        const auto failed = [&](const std::string& code) {
            return "E ThermalReader transact " + code +
                   " to calda failed! status: " + std::to_string(error);
        };
        expectAnswer(reader, kStatus, {kConnected, failed("4"), "-1 { 99 }"});
        expectAnswer(reader, 1, {kConnected, failed("21"), kSizes, "-1 {}"});
        expectAnswer(reader, 0, {kConnected, failed("25"), "0 { 0 }"});
    }
    EXPECT_EQ(calda.remote().calls(21), (8 + 2) * 3) << "one for each answer at each level";
}

TEST_F(ThermalReaderTest, connectsAtConstructionAndAtQueries) {
    constexpr char kAbsent[] = "I1 ThermalReader checkService failed";
    constexpr char kFailed[] = "E ThermalReader connect calda failed in getThermalStatus";
    const auto construct = [&] {
        const ThermalReader fresh;
        return lines();
    };
    expectAtLevels({kAbsent}, construct);
    ThermalReader reader;
    expectAnswer(reader, kStatus, {kAbsent, kFailed, "-1 { 99 }"});
    expectAnswer(reader, 2, {kAbsent, kFailed, "-1 { 99 }"});
    inprocess::hideServiceManager(true);
    expectAtLevels({"I1 ThermalReader getServiceManager failed"}, construct);
    inprocess::hideServiceManager(false);

    FakeCalda calda;
    calda.set(FakeCalda::kStatus, {0, 1});
    const size_t lookUps = inprocess::lookUps().size();
    expectAtLevels({kLinked}, construct);
    reader.getCaldaService();
    EXPECT_EQ(inprocess::lookUps().size() - lookUps, 3 + 1u);
    int status = 0;
    expectAtLevels(kDied + Lines{kLinked}, [&] {
        calda.remote().die();
        calda.publish();
        EXPECT_EQ(reader.getThermalStatus(status), 0);
        return lines();
    });
    // A query takes no lock: it works while a notice holds the reader's lock.
    gLogLevel = 2;
    log.whenLogged("ThermalReader enter binderDied", [&] {
        std::thread([&] { EXPECT_EQ(reader.getThermalStatus(status), -1); }).join();
    });
    calda.remote().die();
    expectAnswer(reader, kStatus, {kAbsent, kFailed, "-1 { 99 }"});
}

/** A calda whose death notices the test controls. */
struct LinkedCalda : android::BBinder {
    android::status_t linkToDeath(const sp<DeathRecipient>& to, void* cookie,
                                  uint32_t flags) override {
        EXPECT_EQ(cookie, nullptr);
        EXPECT_EQ(flags, 0u);
        recipient = to;
        if (diesAtOnce) std::thread([&] { to->binderDied(this); }).join();
        return android::INVALID_OPERATION;
    }
    android::status_t unlinkToDeath(const android::wp<DeathRecipient>& from, void*, uint32_t,
                                    android::wp<DeathRecipient>*) override {
        EXPECT_EQ(from, recipient);
        recipient = nullptr;
        return android::OK;
    }
    android::status_t onTransact(uint32_t, const android::Parcel&, android::Parcel*,
                                 uint32_t flags) override {
        EXPECT_EQ(flags, 0u);
        // A notice on another thread is handled during a query.
        std::thread([this] { recipient->binderDied(nullptr); }).join();
        return android::OK;
    }
    sp<DeathRecipient> recipient;
    bool diesAtOnce = false;
};

TEST_F(ThermalReaderTest, noticesAboutOtherBindersAreIgnored) {
    const sp<LinkedCalda> calda(new LinkedCalda);
    const sp<IBinder> other(new android::BBinder);
    android::defaultServiceManager()->addService(android::String16("calda"), calda);
    const Lines linked = {"W0 ThermalReader registBinder calda link to death failed! status -38",
                          kLinked};
    for (const bool diesAtOnce : {true, false}) {
        calda->diesAtOnce = diesAtOnce;  // the notice must find the stored binder
        expectAtLevels((diesAtOnce ? kDied : Lines{}) + linked, [&] {
            const ThermalReader fresh;
            return lines();
        });
    }
    EXPECT_EQ(calda->recipient, nullptr) << "the last reader is gone";

    ThermalReader reader;
    int status = 77;
    EXPECT_EQ(reader.getThermalStatus(status), 0);
    log.clear();
    const std::pair<android::wp<IBinder>, Lines> notices[] = {{other, {kDied[0]}},
                                                              {nullptr, {kDied[0]}},
                                                              {calda, kDied},
                                                              {other, {kDied[0]}},
                                                              {nullptr, kDied}};
    gLogLevel = 2;
    for (const auto& [who, expected] : notices) {
        calda->recipient->binderDied(who);
        EXPECT_EQ(lines(), atLevel(2, expected));
    }
}

}  // namespace
}  // namespace zstats
