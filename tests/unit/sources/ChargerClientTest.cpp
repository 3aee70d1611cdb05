#include <set>
#include <thread>

#include "tests/support/FakeVendorServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kAbsent[] = "E pullerd:  Get charger service fromBinder fail";
constexpr char kDied[] = "E charger service died, will try to reconnect.";

using ChargerClientTest = HandlerTest;

TEST_F(ChargerClientTest, LooksAnAbsentServiceUpAtEachCallWithoutWaiting) {
    inprocess::reset();
    log.clear();
    expectLines(log, {kAbsent}, [&] { EXPECT_EQ(callback.getIChargeService(), nullptr); });
    const FakeCharger charger;
    EXPECT_NE(callback.getIChargeService(), nullptr);
    EXPECT_THAT(takeLines(), IsEmpty());
    EXPECT_THAT(inprocess::lookUps(), testing::SizeIs(4));
    EXPECT_THAT(inprocess::lookUps(), Each("check vendor.norda.hardware.charger.ICharger/default"));
}

TEST_F(ChargerClientTest, NeverLinksAServiceOfAnotherInterface) {
    FakeHandleFactory other;
    const auto published = inprocess::publish(FakeCharger::kName, other.remote().ndkProxy());
    EXPECT_EQ(callback.getIChargeService(), nullptr);
    EXPECT_EQ(callback.getIChargeService(), nullptr);
    published->die();
    EXPECT_THAT(takeLines(), ElementsAre(kAbsent, kAbsent));
}

TEST_F(ChargerClientTest, ReconnectsSilentlyAfterTheServiceDied) {
    FakeCharger charger;
    charger.set("getPsyBatteryCC", 7);
    const auto first = callback.getIChargeService();
    EXPECT_EQ(callback.getIChargeService(), first);
    charger.remote().die();
    EXPECT_EQ(callback.getIChargeService(), nullptr);
    EXPECT_THAT(takeLines(), ElementsAre(kDied, kAbsent));

    charger.publish();
    const auto second = callback.getIChargeService();
    EXPECT_NE(second, first);
    int32_t value = 0;
    EXPECT_TRUE(second->getPsyBatteryCC(&value).isOk());
    EXPECT_EQ(value, 7);
    charger.remote().die();
    EXPECT_THAT(takeLines(), ElementsAre(kDied));
}

TEST_F(ChargerClientTest, AHangingCallDoesNotHoldTheLock) {
    FakeCharger charger;
    const auto held = callback.getIChargeService();
    charger.remote().block();
    bool ok = true;
    std::thread caller([&] {
        int32_t value = 0;
        ok = held->getPsyBatteryCC(&value).isOk();
    });
    charger.remote().waitForBlocked(1);
    EXPECT_EQ(callback.getIChargeService(), held);
    charger.remote().die();  // its notice takes the lock
    caller.join();
    EXPECT_FALSE(ok);
    EXPECT_EQ(callback.getIChargeService(), nullptr);
}

TEST_F(ChargerClientTest, GivesFirstCallersTheOneProxy) {
    inprocess::reset();
    const FakeCharger charger;
    std::vector<std::shared_ptr<ZStatsPullAtomCallback::ICharger>> proxies(8);
    std::vector<std::thread> threads;
    for (auto& proxy : proxies) {
        threads.emplace_back([&] { proxy = callback.getIChargeService(); });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_NE(proxies.front(), nullptr);
    EXPECT_EQ(std::set(proxies.begin(), proxies.end()).size(), 1u);
    EXPECT_THAT(inprocess::lookUps(), testing::SizeIs(1));
}

}  // namespace
}  // namespace zstats
