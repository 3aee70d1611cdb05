#include <atomic>
#include <optional>
#include <thread>

#include "sources/HalHandleFactoryProxyAidl.h"
#include "tests/support/FakeVendorServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Pair;

constexpr char kAbsent[] = "W get handlefactory aidl service failed";
constexpr char kReadFailed[] = "W handleFactory read failed.";
constexpr char kDied[] = "E handlefactory service died, will try to reconnect.";
constexpr char kConnected[] = "I Get handlefactory service success. Its ref count is 1";

class HalHandleFactoryProxyAidlTest : public HandlerTest {
  protected:
    /** Publishes the service and connects, so that no line of the connection follows. */
    void connect() {
        service.emplace();
        EXPECT_TRUE(factory.exist());
        takeLines();
    }

    HalHandleFactoryProxyAidl& factory = HalHandleFactoryProxyAidl::getInstance();
    std::optional<FakeHandleFactory> service;
    std::string out = "before";
};

TEST_F(HalHandleFactoryProxyAidlTest, LooksAnAbsentServiceUpAtEachCallWithoutWaiting) {
    inprocess::reset();
    gLogLevel = 0;
    EXPECT_EQ(factory.read("k", out), -1);
    EXPECT_EQ(out, "before");
    EXPECT_FALSE(factory.exist());
    EXPECT_EQ(factory.getService(), nullptr);
    EXPECT_THAT(takeLines(), ElementsAre(kAbsent, kAbsent, kAbsent));
    service.emplace();
    EXPECT_TRUE(factory.exist());
    EXPECT_EQ(factory.getService(), factory.getService());
    EXPECT_THAT(takeLines(), ElementsAre(kConnected));
    EXPECT_THAT(inprocess::lookUps(), testing::SizeIs(4));
    EXPECT_THAT(inprocess::lookUps(),
                Each("check vendor.norda.hardware.handlefactory.IHandleFactory/default"));
}

TEST_F(HalHandleFactoryProxyAidlTest, ReadHandsOverTextAndResultCode) {
    connect();
    const std::tuple<const char*, const char*, int> rows[] = {
            {"text", "12\n", 7}, {"empty", "", -3}, {"zero", "0", 0}, {"minus", "-1", -1}};
    for (const auto& [key, text, code] : rows) {
        service->set(key, text, code);
        EXPECT_EQ(factory.read(key, out), code);
        EXPECT_EQ(out, text);
    }
    EXPECT_THAT(service->reads(),
                ElementsAre(Pair("text", 0), Pair("empty", 0), Pair("zero", 0), Pair("minus", 0)));
    EXPECT_THAT(takeLines(), ElementsAre());
}

TEST_F(HalHandleFactoryProxyAidlTest, AFailedCallLeavesTheOutputAlone) {
    connect();
    gLogLevel = 0;
    EXPECT_EQ(factory.read("error status", out), -1);
    service->set("k", "text");
    for (const android::status_t failure : {1, -1, -32}) {
        service->remote().failCalls(failure);
        EXPECT_EQ(factory.read("k", out), -1) << failure;
    }
    EXPECT_EQ(out, "before");
    EXPECT_THAT(takeLines(), ElementsAre(kReadFailed, kReadFailed, kReadFailed, kReadFailed));
}

TEST_F(HalHandleFactoryProxyAidlTest, ReconnectsAfterTheServiceDied) {
    connect();
    for (int round = 0; round < 2; ++round) {
        service->remote().die();
        EXPECT_EQ(factory.read("k", out), -1);
        EXPECT_THAT(takeLines(), ElementsAre(kDied, kAbsent));
        service->publish();
        service->set("k", "again");
        EXPECT_EQ(factory.read("k", out), 0);
        EXPECT_EQ(out, "again");
        EXPECT_THAT(takeLines(), ElementsAre(kConnected));
    }
}

TEST_F(HalHandleFactoryProxyAidlTest, LinksAServiceOfAnotherInterfaceAtEachAttempt) {
    FakeCharger other;
    const auto published = inprocess::publish(FakeHandleFactory::kName, other.remote().ndkProxy());
    EXPECT_EQ(factory.getService(), nullptr);
    EXPECT_EQ(factory.getService(), nullptr);
    // The notices of the two links come amid a third attempt, whose lock they must not wait for.
    log.whenLogged(kConnected + 2, [&] { published->die(); });
    EXPECT_EQ(factory.getService(), nullptr);
    EXPECT_THAT(takeLines(), ElementsAre(kConnected, kConnected, kConnected, kDied, kDied));
}

TEST_F(HalHandleFactoryProxyAidlTest, AHangingCallNeitherBlocksOthersNorOutlivesTheService) {
    connect();
    const auto held = factory.getService();
    service->remote().block();
    int result = 0;
    std::thread reader([&] { result = factory.read("k", out); });
    service->remote().waitForBlocked(1);
    EXPECT_EQ(factory.getService(), held);
    service->remote().die();
    reader.join();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(out, "before");
    EXPECT_FALSE(factory.exist());
}

TEST_F(HalHandleFactoryProxyAidlTest, ReadersSeeWholeTextsOrNothingWhileTheServiceComesAndGoes) {
    connect();
    service->set("k", "text");
    std::atomic<bool> done = false;
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            do {
                std::string text = "before";
                const int result = factory.read("k", text);
                EXPECT_EQ(text, result == 0 ? "text" : "before");
            } while (!done);
        });
    }
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(factory.exist());  // linked: an unlinked proxy would never be given up
        service->remote().die();
        service->publish();
    }
    done = true;
    for (std::thread& reader : readers) reader.join();
}

TEST_F(HalHandleFactoryProxyAidlTest, TheFreeFunctionReplacesItsOutputOnlyByText) {
    const std::string prefix = "getContentByHandleKey read nodeKey: k, ";
    const struct {
        bool present;
        const char* text;  // null: the service answers with an error
        const char* out;
        Lines lines;
    } rows[] = {
            {false, nullptr, "before", {kAbsent, "E " + prefix + "Proxy Aidl not exist."}},
            {true, nullptr, "before", {kReadFailed, "E " + prefix + "len=0"}},
            {true, "", "before", {"E " + prefix + "len=0"}},
            {true, "5", "5", {"D2 " + prefix + "result = 5"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.lines.back());
        service.reset();
        if (row.present) connect();
        if (row.text != nullptr) service->set("k", row.text, -1);
        log.clear();
        expectLines(log, row.lines, [&] {
            out = "before";
            getContentByHandleKey("k", out);
            EXPECT_EQ(out, row.out);
        });
    }
}

}  // namespace
}  // namespace zstats
