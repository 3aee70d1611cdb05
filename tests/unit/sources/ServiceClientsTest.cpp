#include <cstring>
#include <functional>
#include <thread>

#include "sources/AudioClient.h"
#include "sources/HalHandleFactoryProxyAidl.h"
#include "sources/ThermalServiceClient.h"
#include "sources/TouchClient.h"
#include "tests/support/FakeServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

using android::os::IThermalService;

/** A client of a service, and its log lines. */
struct Client {
    std::string service;
    std::function<bool()> finds;  // true when it reaches the service
    Lines absent;
    Lines connected = {};
    Lines died = {};
};

class ServiceClientsTest : public HandlerTest {
  protected:
    HalHandleFactoryProxyAidl& factory = HalHandleFactoryProxyAidl::getInstance();
    AtomicSp<IThermalService> thermalCache;
    AtomicSp<INordaTouch> touchCache;

    const Client kCharger = {FakeCharger::kName,
                             [this] { return callback.getIChargeService() != nullptr; },
                             {"E pullerd:  Get charger service fromBinder fail"},
                             {},
                             {"E charger service died, will try to reconnect."}};
    const Client kFactory = {FakeHandleFactory::kName,
                             [this] { return factory.exist(); },
                             {"W get handlefactory aidl service failed"},
                             {"I Get handlefactory service success. Its ref count is 1"},
                             {"E handlefactory service died, will try to reconnect."}};
    const Client kThermal = {FakeThermalService::kName,
                             [this] { return getThermalService(thermalCache) != nullptr; },
                             {"E get thermalservice failed"},
                             {"D2 get thermalservice succeed"}};
    const Client kTouch = {
            FakeTouch::kName, [this] { return getTouchService(touchCache) != nullptr; }, {}, {}, {}};
    const Client kAudio = {FakeAudio::kName,
                           [] { return readAmplifierMonitor().has_value(); },
                           {"E Cannot connect to service: audio"}};
};

TEST_F(ServiceClientsTest, LookAnAbsentServiceUpAtEachCallWithoutWaiting) {
    for (const Client& client : {kCharger, kFactory, kThermal, kTouch, kAudio}) {
        inprocess::reset();
        expectLines(log, client.absent, [&] { EXPECT_FALSE(client.finds()) << client.service; });
        EXPECT_EQ(inprocess::lookUps(), Lines(3, "check " + client.service));
    }
    inprocess::hideServiceManager(true);
    for (const Client& client : {kThermal, kTouch, kAudio}) {
        expectLines(log, client.absent, [&] { EXPECT_FALSE(client.finds()) << client.service; });
    }
}

TEST_F(ServiceClientsTest, OfAVendorKeepAProxyAndReconnectAfterADeath) {
    FakeCharger charger;
    FakeHandleFactory handles;
    const std::pair<const Client&, PublishedFake&> rows[] = {{kCharger, charger},
                                                             {kFactory, handles}};
    for (const auto& [client, service] : rows) {
        EXPECT_TRUE(client.finds());
        log.clear();
        const size_t before = inprocess::lookUps().size();
        expectLines(log, client.died + client.absent + client.connected,
                    [&, &client = client, &service = service] {
                        service.remote().die();
                        EXPECT_FALSE(client.finds());
                        service.publish();
                        EXPECT_TRUE(client.finds());
                        EXPECT_TRUE(client.finds());
                    });
        EXPECT_EQ(inprocess::lookUps().size() - before, 3 * 2u);
    }
}

TEST_F(ServiceClientsTest, OfAVendorHoldNoLockDuringACall) {
    FakeCharger charger;
    FakeHandleFactory handles;
    std::string text = "before";
    const auto held = callback.getIChargeService();
    const auto readLevel = [&] {
        int32_t value = 0;
        return held->getPsyBatteryCC(&value).isOk();
    };
    const auto readNode = [&] { return factory.read("k", text) != -1; };
    const std::tuple<const Client&, PublishedFake&, std::function<bool()>> rows[] = {
            {kCharger, charger, readLevel}, {kFactory, handles, readNode}};
    for (const auto& [client, service, read] : rows) {
        EXPECT_TRUE(client.finds());
        service.remote().block();
        bool ok = true;
        std::thread caller([&, &read = read] { ok = read(); });
        service.remote().waitForBlocked(1);
        EXPECT_TRUE(client.finds());
        service.remote().die();  // its notice takes the charger's lock
        caller.join();
        EXPECT_FALSE(ok);
        EXPECT_FALSE(client.finds());
    }
    EXPECT_EQ(text, "before");
}

// Such a service is looked up at each call, and its death is not linked.
TEST_F(ServiceClientsTest, OfAVendorTakeNoServiceOfAnotherInterface) {
    FakeHandleFactory handles;
    FakeCharger charger;
    const std::tuple<const Client&, PublishedFake&, Lines> rows[] = {
            {kCharger, handles, kCharger.absent}, {kFactory, charger, kFactory.connected}};
    for (const auto& [client, other, lines] : rows) {
        const auto remote = inprocess::publish(client.service, other.remote().ndkProxy());
        takeLines();
        EXPECT_FALSE(client.finds() || client.finds());
        remote->die();
        EXPECT_EQ(takeLines(), lines + lines);
    }
}

TEST_F(ServiceClientsTest, OfHandlesDropsAServiceThatDiesAsItIsLinked) {
    using aidl::vendor::norda::hardware::handlefactory::IHandleFactory;
    const android::sp<DyingAsLinked> dying(new DyingAsLinked(IHandleFactory::descriptor));
    const android::String16 name(FakeHandleFactory::kName);
    android::defaultServiceManager()->addService(name, dying);
    EXPECT_TRUE(kFactory.finds());
    dying->notice.join();
    inprocess::withdraw(FakeHandleFactory::kName);
    EXPECT_FALSE(kFactory.finds());
}

TEST_F(ServiceClientsTest, OfThermalAndTouchKeepTheFirstServiceForGood) {
    FakeThermalService thermal;
    FakeTouch touch;
    const std::tuple<const Client&, PublishedFake&, std::function<void()>> rows[] = {
            {kThermal, thermal, [this] { thermalCache.store(nullptr); }},
            {kTouch, touch, [this] { touchCache.store(nullptr); }}};
    log.clear();
    for (const auto& [client, service, forget] : rows) {
        inprocess::reset();
        service.publish();
        expectLines(log, client.connected, [&, &client = client, &forget = forget] {
            forget();
            EXPECT_TRUE(client.finds());
            EXPECT_TRUE(client.finds());
        });
        service.remote().die();
        EXPECT_TRUE(client.finds());
        EXPECT_EQ(inprocess::lookUps(), Lines(3, "check " + client.service));
    }
}

TEST_F(ServiceClientsTest, OfHandlesTakesTextAndResultCodeOfACallThatSucceeds) {
    FakeHandleFactory handles;
    EXPECT_EQ(factory.getService(), factory.getService());
    log.clear();
    std::string out;
    const std::tuple<const char*, const char*, int> rows[] = {
            {"text", "12\n", 7}, {"empty", "", -3}, {"zero", "0", 0}, {"minus", "-1", -1}};
    for (const auto& [key, text, code] : rows) {
        handles.set(key, text, code);
        EXPECT_EQ(factory.read(key, out), code);
        EXPECT_EQ(out, text);
        EXPECT_EQ(handles.reads().back(), std::pair(std::string(key), 0));
    }
    EXPECT_EQ(takeLines(), Lines{});
    EXPECT_EQ(handles.reads().size(), std::size(rows));
    const auto expectFailure = [&](const Lines& lines) {
        expectLines(log, lines, [&] { EXPECT_EQ(factory.read("unknown", out), -1); });
        EXPECT_EQ(out, "-1");
    };
    for (const android::status_t status : {0, 1, -1, -32}) {  // 0: an error of the service
        handles.remote().failCalls(status);
        expectFailure({"W handleFactory read failed."});
    }
    // One call each; after the last status the proxy is dead and makes none.
    EXPECT_EQ(handles.remote().calls(4), static_cast<int>(std::size(rows)) + 3 * 3 + 1);
    handles.remote().die();
    log.clear();
    expectFailure(kFactory.absent);
    EXPECT_EQ(factory.getService(), nullptr);
}

TEST_F(ServiceClientsTest, OfThermalAndTouchReadNothingFromAFailedCall) {
    FakeThermalService thermal;
    thermal.set({36.7f, -0.5f});
    const auto readDegrees = [&] { return readCpuTemperatures(*getThermalService(thermalCache)); };
    EXPECT_EQ(readDegrees(), (std::vector<float>{36.7f, -0.5f}));
    thermal.setException(android::binder::Status::EX_SECURITY);
    EXPECT_EQ(readDegrees(), std::vector<float>{});
    EXPECT_EQ(thermal.types(), std::vector<int32_t>(2, 0));

    FakeTouch touch;
    touch.setText("4\u00e9");
    const auto readText = [&] { return readRefreshRateNode(*getTouchService(touchCache)); };
    EXPECT_EQ(readText(), "4\u00e9");
    touch.fail();
    EXPECT_EQ(readText(), "");
    EXPECT_EQ(touch.reads(), (std::vector(2, std::pair(0, 26))));
}

TEST_F(ServiceClientsTest, OfAudioSaysWhyItsCallFails) {
    FakeAudio audio;
    EXPECT_EQ(readAmplifierMonitor(), "");  // a reply without any text
    audio.set("1.25 W");
    EXPECT_EQ(readAmplifierMonitor(), "1.25 W");
    EXPECT_EQ(audio.request(), std::string("PAPowerMonitorResult\0\0\0\0", 24));
    const std::pair<android::status_t, std::string> rows[] = {
            {android::PERMISSION_DENIED, "Operation not permitted"},
            {1, strerror(-1)},  // a positive status is a failure as well
            {android::UNKNOWN_ERROR, strerror(std::numeric_limits<int>::min())},
            {android::DEAD_OBJECT, "Broken pipe"},  // last, because the proxy stays dead
    };
    log.clear();
    for (const auto& [status, text] : rows) {
        audio.remote().failCalls(status);
        expectLines(log, {"E Error invoking remote service: " + text + "\n"},
                    [] { EXPECT_EQ(readAmplifierMonitor(), std::nullopt); });
    }
    EXPECT_EQ(audio.remote().calls(AudioService::kMonitor), 2 + 3 * 3 + 1) << "one each";
    const FakeAudio successor;
    EXPECT_TRUE(kAudio.finds());
}

}  // namespace
}  // namespace zstats
