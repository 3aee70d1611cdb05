#include "sources/HalHandleFactoryProxyAidl.h"
#include "tests/support/FakeVendorServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

using ::testing::ElementsAre;

/** Services that are published under the name of another one. */
using OtherInterfaceTest = HandlerTest;

// Every attempt that finds a binder links it, whatever it turns out to be.
TEST_F(OtherInterfaceTest, atTheHandleFactorysNameIsLinkedOnEachAttempt) {
    FakeCharger other;
    const auto remote = other.remote().ndkProxy();
    auto published = inprocess::publish(FakeHandleFactory::kName, remote);
    auto& factory = HalHandleFactoryProxyAidl::getInstance();
    for (int attempt = 0; attempt < 3; ++attempt) EXPECT_EQ(factory.getService(), nullptr);
    const std::vector<std::string> connected = takeLines();
    ASSERT_EQ(connected.size(), 3u);
    for (const std::string& line : connected) {
        EXPECT_EQ(line.substr(0, line.find_last_of(' ')),
                  "I Get handlefactory service success. Its ref count is");
    }
    published->die();
    constexpr char kDied[] = "E handlefactory service died, will try to reconnect.";
    EXPECT_THAT(takeLines(), ElementsAre(kDied, kDied, kDied));
}

// Only a proxy that is not empty is linked.
TEST_F(OtherInterfaceTest, atTheChargersNameIsNeverLinked) {
    FakeHandleFactory other;
    auto published = inprocess::publish(FakeCharger::kName, other.remote().ndkProxy());
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(callback.getIChargeService(), nullptr);
        EXPECT_THAT(takeLines(), ElementsAre("E pullerd:  Get charger service fromBinder fail"));
    }
    published->die();
    EXPECT_THAT(takeLines(), testing::IsEmpty());
}

}  // namespace
}  // namespace zstats
