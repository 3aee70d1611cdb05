#include <atomic>
#include <optional>
#include <thread>

#include "sources/HalHandleFactoryProxyAidl.h"
#include "tests/support/FakeVendorServices.h"
#include "tests/support/HandlerTest.h"

namespace zstats {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::StartsWith;

constexpr char kAbsent[] = "W get handlefactory aidl service failed";
constexpr char kReadFailed[] = "W handleFactory read failed.";
constexpr char kDied[] = "E handlefactory service died, will try to reconnect.";
constexpr char kConnected[] = "I Get handlefactory service success. Its ref count is ";

class HandleFactoryTest : public HandlerTest {
  protected:
    HalHandleFactoryProxyAidl& factory = HalHandleFactoryProxyAidl::getInstance();
    std::string out = "before";
};

TEST_F(HandleFactoryTest, looksAnAbsentServiceUpAtEachCall) {
    EXPECT_EQ(factory.read("k", out), -1);
    EXPECT_EQ(out, "before");
    EXPECT_FALSE(factory.exist());
    EXPECT_THAT(takeLines(), ElementsAre(kAbsent, kAbsent));

    FakeHandleFactory service;
    service.set("k", "there");
    EXPECT_TRUE(factory.exist());
    EXPECT_EQ(factory.read("k", out), 0);
    EXPECT_EQ(out, "there");
}

TEST_F(HandleFactoryTest, readHandsOverTextAndResultCode) {
    FakeHandleFactory service;
    service.set("text", "12\n", 7);
    service.set("empty", "", -3);
    EXPECT_EQ(factory.read("text", out), 7);
    EXPECT_EQ(out, "12\n");
    EXPECT_EQ(factory.read("empty", out), -3);
    EXPECT_EQ(out, "");
    EXPECT_THAT(service.reads(), ElementsAre(Pair("text", 0), Pair("empty", 0)));
    EXPECT_THAT(takeLines(), ElementsAre(StartsWith(kConnected)));
}

TEST_F(HandleFactoryTest, aFailedCallLeavesTheOutputAlone) {
    FakeHandleFactory service;
    service.set("k", "text");
    ASSERT_TRUE(factory.exist());
    takeLines();

    EXPECT_EQ(factory.read("error status", out), -1);
    for (const android::status_t failure : {android::PERMISSION_DENIED, android::DEAD_OBJECT}) {
        service.remote().failCalls(failure);
        EXPECT_EQ(factory.read("k", out), -1) << failure;
    }
    EXPECT_EQ(out, "before");
    EXPECT_THAT(takeLines(), ElementsAre(kReadFailed, kReadFailed, kReadFailed));
}

TEST_F(HandleFactoryTest, reconnectsAfterTheServiceDied) {
    FakeHandleFactory service;
    service.set("k", "text");
    EXPECT_EQ(factory.read("k", out), 0);
    service.remote().die();
    EXPECT_THAT(takeLines(), ElementsAre(StartsWith(kConnected), kDied));

    EXPECT_EQ(factory.read("k", out), -1);
    service.publish();
    service.set("k", "again");
    EXPECT_EQ(factory.read("k", out), 0);
    EXPECT_EQ(out, "again");
    EXPECT_THAT(takeLines(), ElementsAre(kAbsent, StartsWith(kConnected)));
}

TEST_F(HandleFactoryTest, aHangingCallNeitherBlocksOthersNorOutlivesTheService) {
    FakeHandleFactory service;
    service.set("k", "text");
    const auto held = factory.getService();
    ASSERT_NE(held, nullptr);
    service.remote().block();
    int result = 0;
    std::thread reader([&] { result = factory.read("k", out); });
    service.remote().waitForBlocked(1);
    EXPECT_EQ(factory.getService(), held);

    service.remote().die();
    reader.join();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(out, "before");
    EXPECT_FALSE(factory.exist());
}

TEST_F(HandleFactoryTest, readersSeeWholeTextsOrNothingWhileTheServiceComesAndGoes) {
    FakeHandleFactory service;
    service.set("k", "text");
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
        service.remote().die();
        service.publish();
    }
    done = true;
    for (std::thread& reader : readers) reader.join();
}

TEST_F(HandleFactoryTest, theFreeFunctionReplacesItsOutputOnlyByText) {
    const std::string prefix = "getContentByHandleKey read nodeKey: k, ";
    const struct {
        bool present;
        const char* text;  // null: the service answers with an error
        const char* out;
        std::vector<std::string> lines;  // at level 2, after the connection's own
    } cases[] = {
            {false, nullptr, "before", {kAbsent, "E " + prefix + "Proxy Aidl not exist."}},
            {true, nullptr, "before", {kReadFailed, "E " + prefix + "len=0"}},
            {true, "", "before", {"E " + prefix + "len=0"}},
            {true, "5", "5", {"D " + prefix + "result = 5"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.lines.back());
        std::optional<FakeHandleFactory> service;
        if (c.present) service.emplace();
        if (c.text != nullptr) service->set("k", c.text);
        ASSERT_EQ(factory.exist(), c.present);
        takeLines();
        for (const int32_t level : {0, 1, 2}) {
            gLogLevel = level;
            out = "before";
            getContentByHandleKey("k", out);
            EXPECT_EQ(out, c.out);
            auto expected = c.lines;
            if (level < 2 && expected.back()[0] == 'D') expected.pop_back();
            EXPECT_EQ(takeLines(), expected) << "level " << level;
        }
    }
}

}  // namespace
}  // namespace zstats
