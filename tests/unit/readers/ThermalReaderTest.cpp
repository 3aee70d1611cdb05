#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <utils/String16.h>

#include <atomic>
#include <thread>

#include "readers/ThermalReader.h"
#include "tests/support/AtomTest.h"
#include "tests/support/FakePlatformServices.h"

namespace zstats {
namespace {

using android::IBinder;
using android::sp;
using Ints = std::vector<int>;

constexpr char kConnected[] = "D2 ThermalReader Calda Binder already exists";
constexpr char kLinked[] = "D2 ThermalReader Calda Binder linked";
constexpr char kSizes[] = "I1 ThermalReader get all shell temperature return invalid vec size";

class ThermalReaderTest : public AtomTest {
  protected:
    /** Does `action` at the levels 0, 1 and 2, each with these lines. */
    template <typename Action>
    void expectLines(const Transcript& expected, Action action) {
        for (const int32_t level : {0, 2, 1}) {
            gLogLevel = level;
            log.clear();
            action();
            EXPECT_EQ(lines(), atLevel(level, expected)) << level;
        }
    }

    void expectTemperatures(ThermalReader& reader, int type, int result, const Ints& values,
                            const Transcript& expected) {
        SCOPED_TRACE(type);
        expectLines(expected, [&] {
            Ints out = {99};
            const auto asked = static_cast<ThermalReader::TemperatureType>(type);
            EXPECT_EQ(reader.getTemperatureInMilliCelsius(asked, out), result);
            EXPECT_EQ(out, values);
        });
    }

    void expectStatus(ThermalReader& reader, int result, int status, const Transcript& expected) {
        expectLines(expected, [&] {
            int out = 77;
            EXPECT_EQ(reader.getThermalStatus(out), result);
            EXPECT_EQ(out, status);
        });
    }
};

TEST_F(ThermalReaderTest, temperaturesByType) {
    FakeCalda calda;
    ThermalReader reader;
    const struct {
        int type;
        Ints reply;
        int result;
        Ints values;
        Transcript lines;
    } rows[] = {
            {1, {4, 4, 41000, 38000, 37500, 36900}, 0, {41000}, {kConnected}},
            {2, {4, 9, 41000, 1, -2, 3, 4}, 0, {1, -2, 3}, {kConnected}},
            {2, {4, 4, 41000, 1}, 0, {1, 0, 0}, {kConnected}},  // words behind the end read as 0
            {1, {3, 4, 41000}, -1, {}, {kConnected, kSizes}},
            {1, {4, 3, 41000}, -1, {}, {kConnected, kSizes}},
            {2, {}, -1, {}, {kConnected, kSizes}},
            {0, {35}, 0, {35000}, {kConnected}},
            {0, {-7, 1}, 0, {-7000}, {kConnected}},
            {0, {}, 0, {0}, {kConnected}},
            {0, {2147484}, 0, {-2147483296}, {kConnected}},  // wraps
            {3,
             {4, 4, 1},
             -1,
             {},
             {kConnected, "I1 ThermalReader revieved invalid temperature type: 3"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.reply));
        calda.set(row.type == 0 ? FakeCalda::kAmbient : FakeCalda::kShell, row.reply);
        expectTemperatures(reader, row.type, row.result, row.values, row.lines);
    }
}

TEST_F(ThermalReaderTest, statusAndItsException) {
    FakeCalda calda;
    ThermalReader reader;
    const std::tuple<Ints, int, int, Transcript> rows[] = {
            {{-3, 5}, -1, 77, {kConnected, "E ThermalReader transact reply exception: -3"}},
            {{1, 5}, -1, 77, {kConnected, "E ThermalReader transact reply exception: 1"}},
            {{0, -5}, 0, -5, {kConnected}},
            {{}, 0, 0, {kConnected}}};
    for (const auto& [reply, result, status, expected] : rows) {
        calda.set(FakeCalda::kStatus, reply);
        expectStatus(reader, result, status, expected);
    }
}

TEST_F(ThermalReaderTest, aTransportErrorEndsTheStatusButNotTheTemperatures) {
    FakeCalda calda;
    ThermalReader reader;
    for (const int error : {-110, 1}) {
        calda.remote().failCalls(error);
        const auto failed = [&](const std::string& code) {
            return "E ThermalReader transact " + code +
                   " to calda failed! status: " + std::to_string(error);
        };
        expectStatus(reader, -1, 77, {kConnected, failed("4")});
        expectTemperatures(reader, ThermalReader::BOARD, -1, {}, {kConnected, failed("21"), kSizes});
        expectTemperatures(reader, ThermalReader::AMBIENT, 0, {0}, {kConnected, failed("25")});
    }
}

TEST_F(ThermalReaderTest, connectsAtConstructionAndAtQueriesWithoutWaiting) {
    const Transcript unreachable = {"I1 ThermalReader checkService failed"};
    const Transcript failed = {"I1 ThermalReader checkService failed",
                               "E ThermalReader connect calda failed in getThermalStatus"};
    expectLines(unreachable, [] { const ThermalReader reader; });
    ThermalReader reader;
    expectStatus(reader, -1, 77, failed);
    expectTemperatures(reader, ThermalReader::SHELL, -1, {99}, failed);
    inprocess::hideServiceManager(true);
    expectLines({"I1 ThermalReader getServiceManager failed"}, [&] { reader.getCaldaService(); });
    inprocess::hideServiceManager(false);

    FakeCalda calda;
    calda.set(FakeCalda::kStatus, {0, 1});
    expectLines({kLinked}, [] { const ThermalReader fresh; });
    // Connected, and after each death again.
    const char* const next[] = {"D2 ThermalReader enter binderDied",
                                "I1 ThermalReader calda binderDied!", kLinked};
    reader.getCaldaService();
    expectLines({std::begin(next), std::end(next)}, [&] {
        calda.remote().die();
        calda.publish();
        int status = 0;
        EXPECT_EQ(reader.getThermalStatus(status), 0);
    });
    calda.remote().die();
    expectStatus(reader, -1, 77, failed);
}

/** A calda whose death link is under the test's control. */
struct LinkedCalda : android::BBinder {
    android::status_t linkToDeath(const sp<DeathRecipient>& to, void* cookie,
                                  uint32_t flags) override {
        EXPECT_EQ(cookie, nullptr);
        EXPECT_EQ(flags, 0u);
        recipient = to;
        return android::INVALID_OPERATION;
    }
    android::status_t unlinkToDeath(const android::wp<DeathRecipient>& from, void*, uint32_t,
                                    android::wp<DeathRecipient>*) override {
        EXPECT_EQ(from, recipient);
        recipient = nullptr;
        return android::OK;
    }
    android::status_t onTransact(uint32_t, const android::Parcel&, android::Parcel*,
                                 uint32_t) override {
        // A notice on another thread is served while a query is under way.
        std::thread([this] { recipient->binderDied(nullptr); }).join();
        return android::OK;
    }
    sp<DeathRecipient> recipient;
};

TEST_F(ThermalReaderTest, noticesAboutOtherBindersAreIgnored) {
    const sp<LinkedCalda> calda(new LinkedCalda);
    const sp<IBinder> other(new android::BBinder);
    android::defaultServiceManager()->addService(android::String16("calda"), calda);
    expectLines({"W0 ThermalReader registBinder calda link to death failed! status -38", kLinked},
                [&] {
                    const ThermalReader reader;
                    EXPECT_NE(calda->recipient, nullptr);
                });
    EXPECT_EQ(calda->recipient, nullptr);

    ThermalReader reader;
    gLogLevel = 2;
    int status = 77;
    EXPECT_EQ(reader.getThermalStatus(status), 0);
    const std::pair<android::wp<IBinder>, bool> notices[] = {
            {other, false}, {nullptr, false}, {calda, true}, {other, false}, {nullptr, true}};
    for (const auto& [who, isHeld] : notices) {
        log.clear();
        calda->recipient->binderDied(who);
        Transcript expected = {"D ThermalReader enter binderDied"};
        if (isHeld) expected.push_back("I ThermalReader calda binderDied!");
        EXPECT_EQ(lines(), expected);
    }
}

TEST_F(ThermalReaderTest, queriesSurviveDeathsOnOtherThreads) {
    FakeCalda calda;
    calda.set(FakeCalda::kStatus, {0, 4});
    calda.set(FakeCalda::kShell, {4, 4, 1, 2, 3, 4});
    ThermalReader reader;
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                int status = 4;
                Ints values;
                reader.getThermalStatus(status);
                EXPECT_EQ(status, 4);
                if (reader.getTemperatureInMilliCelsius(ThermalReader::SHELL, values) == 0) {
                    EXPECT_EQ(values, (Ints{2, 3, 4}));
                }
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        calda.remote().die();
        calda.publish();
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace zstats
