#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <utils/String16.h>

#include <atomic>
#include <limits>
#include <thread>

#include "readers/ThermalReader.h"
#include "tests/unit/perf/PerfKit.h"

namespace zstats {
namespace {

using android::IBinder;
using android::sp;

constexpr int32_t kStatusTag = 150126;
constexpr int32_t kAmbientTag = 150127;
constexpr int32_t kBoardTag = 150128;
constexpr int32_t kShellTag = 150129;
constexpr int32_t kCpuTag = 150031;

constexpr char kNotConnected[] = "ThermalReader connect calda failed in getThermalStatus";

using CaldaTest = PerfTest;

TEST_F(CaldaTest, temperaturesByType) {
    FakeCalda calda;
    ThermalReader reader;
    using Ints = std::vector<int>;
    const std::tuple<int, std::vector<int32_t>, int, Ints> cases[] = {
            {ThermalReader::BOARD, {4, 4, 41000, 38000, 37500, 36900}, 0, {41000}},
            {ThermalReader::SHELL, {4, 9, 41000, 1, -2, 3, 4}, 0, {1, -2, 3}},
            {ThermalReader::SHELL, {4, 4, 41000, 1}, 0, {1, 0, 0}},
            {ThermalReader::BOARD, {3, 4, 41000}, -1, {}},
            {ThermalReader::BOARD, {4, 3, 41000}, -1, {}},
            {ThermalReader::SHELL, {}, -1, {}},
            {ThermalReader::AMBIENT, {35}, 0, {35000}},
            {ThermalReader::AMBIENT, {-7, 1}, 0, {-7000}},
            {ThermalReader::AMBIENT, {}, 0, {0}},
            {ThermalReader::AMBIENT, {2147484}, 0, {-2147483296}},
            {3, {4, 4, 1, 1, 1, 1}, -1, {}}};
    for (const auto& [type, reply, result, expected] : cases) {
        SCOPED_TRACE(testing::PrintToString(reply));
        calda.set(type == ThermalReader::AMBIENT ? FakeCalda::kAmbient : FakeCalda::kShell, reply);
        Ints values = {99};
        const auto asked = static_cast<ThermalReader::TemperatureType>(type);
        EXPECT_EQ(reader.getTemperatureInMilliCelsius(asked, values), result);
        EXPECT_EQ(values, expected);
    }
    EXPECT_EQ(infos("invalid vec size"), 3u);
    EXPECT_TRUE(infos("ThermalReader revieved invalid temperature type: 3"));
}

TEST_F(CaldaTest, statusAndItsException) {
    FakeCalda calda;
    ThermalReader reader;
    const std::tuple<std::vector<int32_t>, int, int> cases[] = {
            {{-3, 5}, -1, 77}, {{0, 5}, 0, 5}, {{}, 0, 0}};
    for (const auto& [reply, result, expected] : cases) {
        int status = 77;
        calda.set(FakeCalda::kStatus, reply);
        EXPECT_EQ(reader.getThermalStatus(status), result);
        EXPECT_EQ(status, expected);
    }
    EXPECT_EQ(errors("ThermalReader transact reply exception: -3"), 1u);
}

TEST_F(CaldaTest, aTransportErrorEndsTheStatusButNotTheTemperatures) {
    FakeCalda calda;
    calda.remote().failCalls(-110);
    for (const int32_t tag : {kStatusTag, kShellTag}) EXPECT_THAT(pull(tag), IsEmpty());
    EXPECT_THAT(pull(kAmbientTag), ElementsAre(Fields{0}));
    for (const char* code : {"4", "25", "21"}) {
        EXPECT_TRUE(errors(std::string("ThermalReader transact ") + code +
                           " to calda failed! status: -110"));
    }
    EXPECT_EQ(infos("invalid vec size"), 1u);
}

TEST_F(CaldaTest, handlersWriteWhatTheReaderGives) {
    FakeCalda calda;
    calda.set(FakeCalda::kStatus, {0, 3});
    calda.set(FakeCalda::kAmbient, {35});
    calda.set(FakeCalda::kShell, {4, 4, 41000, 38000, 37500, 36900});
    EXPECT_THAT(pull(kStatusTag), ElementsAre(Fields{3}));
    EXPECT_THAT(pull(kAmbientTag), ElementsAre(Fields{35000}));
    EXPECT_THAT(pull(kBoardTag), ElementsAre(Fields{41000}));
    EXPECT_THAT(pull(kShellTag), ElementsAre(Fields{38000, 37500, 36900}));
}

TEST_F(CaldaTest, handlersWithoutTheServiceSayWhyAndWriteNothing) {
    for (const int32_t tag : {kStatusTag, kAmbientTag, kBoardTag, kShellTag}) {
        EXPECT_THAT(pull(tag), IsEmpty());
    }
    EXPECT_TRUE(debugs("handleThermalStatus getThermalStatus failed"));
    for (const char* handler :
         {"handleAmbientTemperature", "handleBoardTemperature", "handleShellTemperature"}) {
        EXPECT_TRUE(debugs(std::string(handler) + " getTemperatureInMilliCelsius failed"));
    }
    EXPECT_EQ(errors(kNotConnected), 4u);
    // The construction of the callback object tried as well.
    EXPECT_EQ(infos("ThermalReader checkService failed"), 5u);
}

TEST_F(CaldaTest, reconnectsAfterADeath) {
    FakeCalda calda;
    calda.set(FakeCalda::kStatus, {0, 1});
    ThermalReader reader;
    int status = 0;
    EXPECT_EQ(reader.getThermalStatus(status), 0);
    EXPECT_EQ(debugs("ThermalReader Calda Binder linked"), 1u);
    calda.remote().die();
    EXPECT_EQ(infos("ThermalReader calda binderDied!"), 1u);
    EXPECT_EQ(reader.getThermalStatus(status), -1);
    EXPECT_EQ(errors(kNotConnected), 1u);
    calda.publish();
    EXPECT_EQ(reader.getThermalStatus(status), 0);
    EXPECT_EQ(debugs("ThermalReader Calda Binder linked"), 2u);
}

TEST_F(CaldaTest, connectsOnceThereIsAServiceManager) {
    inprocess::hideServiceManager(true);
    ThermalReader reader;
    EXPECT_TRUE(infos("ThermalReader getServiceManager failed"));
    inprocess::hideServiceManager(false);
    FakeCalda calda;
    reader.getCaldaService();
    reader.getCaldaService();
    EXPECT_EQ(debugs("ThermalReader Calda Binder already exists"), 1u);
}

/** A calda whose death link is under the test's control. */
struct LinkedCalda : android::BBinder {
    android::status_t linkToDeath(const sp<DeathRecipient>& recipient, void*, uint32_t) override {
        mRecipient = recipient;
        return android::INVALID_OPERATION;
    }
    sp<DeathRecipient> mRecipient;
};

TEST_F(CaldaTest, noticesAboutOtherBindersAreIgnored) {
    const sp<LinkedCalda> calda(new LinkedCalda);
    const sp<IBinder> other(new android::BBinder);
    android::defaultServiceManager()->addService(android::String16("calda"), calda);
    ThermalReader reader;
    EXPECT_TRUE(warnings("ThermalReader registBinder calda link to death failed! status -38"));
    ASSERT_NE(calda->mRecipient, nullptr);

    const std::pair<android::wp<IBinder>, size_t> notices[] = {
            {other, 0u}, {nullptr, 0u}, {calda, 1u}, {other, 1u}, {nullptr, 2u}};
    for (const auto& [who, deaths] : notices) {
        calda->mRecipient->binderDied(who);
        EXPECT_EQ(infos("ThermalReader calda binderDied!"), deaths);
    }
}

TEST_F(CaldaTest, queriesSurviveDeathsOnOtherThreads) {
    FakeCalda calda;
    calda.set(FakeCalda::kStatus, {0, 4});
    calda.set(FakeCalda::kShell, {4, 4, 1, 2, 3, 4});
    ThermalReader reader;
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                int status = 4;
                std::vector<int> values;
                reader.getThermalStatus(status);
                const int result = reader.getTemperatureInMilliCelsius(ThermalReader::SHELL, values);
                if (status != 4 || (result == 0 && values != std::vector<int>{2, 3, 4})) ++wrong;
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        calda.remote().die();
        calda.publish();
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
    // No more can be asked: a service that dies between look-up and link stays held, dead.
    EXPECT_EQ(wrong, 0);
}

using CpuTemperatureTest = PerfTest;

TEST_F(CpuTemperatureTest, valuesAreTruncatedAndNumbered) {
    FakeThermalService thermal;
    thermal.set({36.7f, -0.5f, 41.9f});
    EXPECT_THAT(pull(kCpuTag), ElementsAre(Fields{0, 36}, Fields{1, 0}, Fields{2, 41}));
    EXPECT_THAT(thermal.types(), ElementsAre(0));
    EXPECT_EQ(debugs("get thermalservice succeed"), 1u);

    constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
    constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    thermal.set({std::numeric_limits<float>::quiet_NaN(), kInfinity, -kInfinity, 3e9f, -3e9f,
                 2147483520.0f, -2147483648.0f});
    EXPECT_THAT(pull(kCpuTag),
                ElementsAre(Fields{0, 0}, Fields{1, kMax}, Fields{2, kMin}, Fields{3, kMax},
                            Fields{4, kMin}, Fields{5, 2147483520}, Fields{6, kMin}));
}

TEST_F(CpuTemperatureTest, theProxyIsFetchedOnceAndKeptForGood) {
    EXPECT_THAT(pull(kCpuTag), IsEmpty());
    EXPECT_EQ(errors("get thermalservice failed"), 1u);
    EXPECT_TRUE(warnings("handleCpuTemperature line 940, checkIThermalService return false"));

    FakeThermalService thermal;
    thermal.set({50.0f});
    EXPECT_THAT(pull(kCpuTag), ElementsAre(Fields{0, 50}));
    thermal.remote().die();
    const FakeThermalService successor;
    EXPECT_THAT(pull(kCpuTag), IsEmpty());
    EXPECT_EQ(warnings("handleCpuTemperature line 947, temperatureVec is empty"), 1);
    EXPECT_THAT(successor.types(), IsEmpty());
    EXPECT_EQ(debugs("get thermalservice succeed"), 1u);
}

TEST_F(CpuTemperatureTest, aRefusalLeavesAnEmptyList) {
    FakeThermalService thermal;
    thermal.set({50.0f});
    thermal.setException(android::binder::Status::EX_SECURITY);
    EXPECT_THAT(pull(kCpuTag), IsEmpty());
    EXPECT_EQ(warnings("temperatureVec is empty"), 1u);
    thermal.setException(0);
    EXPECT_THAT(pull(kCpuTag), ElementsAre(Fields{0, 50}));
}

}  // namespace
}  // namespace zstats
