#include <gtest/gtest.h>

#include "vdevice/system/init/RcFile.h"

namespace zstats::vdevice {
namespace {

TEST(RcFileTest, readsEveryKeywordOfAService) {
    RcFile rc;
    ASSERT_EQ("", parseRcFile("a.rc", R"(# comment
service one /bin/one -v x
    class main
    # another
    user statsd
    group 1234 shell
    oneshot
    disabled
    restart_period 7
    socket statsdw dgram+passcred 0222 statsd 7
    interface aidl a.b.IC/default
    needs nodes charger

service two /bin/two
)",
                              &rc));
    ASSERT_EQ(2u, rc.services.size());
    const RcService& one = rc.services[0];
    EXPECT_EQ((std::vector<std::string>{"/bin/one", "-v", "x"}), one.command);
    EXPECT_EQ("main", one.className);
    EXPECT_EQ(1066u, one.uid);
    EXPECT_EQ((std::vector<gid_t>{1234, 2000}), one.gids);
    EXPECT_TRUE(one.oneshot && one.disabled);
    EXPECT_EQ(std::chrono::seconds(7), one.restartPeriod);
    ASSERT_EQ(1u, one.sockets.size());
    EXPECT_TRUE(one.sockets[0].passCredentials);
    EXPECT_EQ(0222u, one.sockets[0].mode);
    EXPECT_EQ(7u, one.sockets[0].gid);
    EXPECT_EQ(std::vector<std::string>{"a.b.IC/default"}, one.interfaces);
    EXPECT_EQ((std::vector<std::string>{"nodes", "charger"}), one.needs);
    EXPECT_EQ(std::vector<gid_t>{0}, rc.services[1].gids);
    EXPECT_FALSE(rc.services[1].oneshot || rc.services[1].disabled);
    EXPECT_FALSE(rc.services[1].restartPeriod);
}

TEST(RcFileTest, collectsStanzasOfSeveralFiles) {
    RcFile rc;
    EXPECT_EQ("", parseRcFile("a.rc", "service one /bin/one\n", &rc));
    EXPECT_EQ("", parseRcFile("b.rc", "on boot\n  class_start main\n  setprop a b\non boot\n", &rc));
    EXPECT_EQ(1u, rc.services.size());
    ASSERT_EQ(2u, rc.actions.size());
    EXPECT_EQ((std::vector<std::string>{"setprop", "a", "b"}), rc.actions[0].commands.at(1));
    EXPECT_EQ("f:1: there is a service 'one' already",
              parseRcFile("f", "service one /bin/other", &rc));
}

TEST(RcFileTest, refusesWhatHasNoEffectHere) {
    const std::string service = "service s /bin/s\n";
    const struct {
        std::string text;
        const char* error;
    } cases[] = {
            {"import other.rc", "f:1: unknown stanza 'import'"},
            {"\n  user root", "f:2: unknown stanza 'user'"},
            {"service s", "f:1: a service needs a name and a path"},
            {"service s bin/s", "f:1: 'bin/s' is no absolute path"},
            {service + "writepid /dev/null", "f:2: unknown keyword 'writepid'"},
            {service + "user nosuch", "f:2: unknown user 'nosuch'"},
            {service + "user", "f:2: wrong number of arguments for 'user'"},
            {service + "group root 12x", "f:2: unknown group '12x'"},
            {service + "oneshot now", "f:2: wrong number of arguments for 'oneshot'"},
            {service + "socket n stream 0666 root root", "f:2: unknown socket type 'stream'"},
            {service + "socket n dgram 0888 root root", "f:2: unknown mode '0888'"},
            {service + "socket n dgram 1000 root root", "f:2: unknown mode '1000'"},
            {service + "interface hidl a", "f:2: unknown kind of interface 'hidl'"},
            {service + "restart_period soon", "f:2: 'soon' is no number of seconds"},
            {"on services-registered", "f:1: unknown trigger 'services-registered'"},
            {"on property:a", "f:1: 'property:a' names no value"},
            {"on boot && manager-ready", "f:1: there can be one event only"},
            {"on boot property:a=b", "f:1: 'on' needs triggers with '&&' between them"},
            {"on boot &&", "f:1: 'on' needs triggers with '&&' between them"},
            {"on", "f:1: 'on' needs triggers with '&&' between them"},
            {"on boot\nexec /bin/x", "f:2: unknown keyword 'exec'"},
            {"on boot\nsetprop a", "f:2: wrong number of arguments for 'setprop'"},
    };
    for (const auto& one : cases) {
        RcFile rc;
        EXPECT_EQ(one.error, parseRcFile("f", one.text, &rc)) << one.text;
    }
}

}  // namespace
}  // namespace zstats::vdevice
