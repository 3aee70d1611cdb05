#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "vdevice/system/init/Service.h"

static bool gForkFails = false;

/** Takes the place of the library's, so that a fork can fail. */
extern "C" pid_t fork() {
    static const auto real = reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"));
    errno = EAGAIN;
    return gForkFails ? -1 : real();
}

namespace zstats::vdevice {
namespace {

using std::chrono::milliseconds;

/** A service that is a real process, under the test's own user. */
class ServiceTest : public testing::Test {
  protected:
    void SetUp() override {
        if (getuid() != 0) GTEST_SKIP() << "only root can start services";
    }

    static RcService service() {
        RcService rc;
        rc.command = {"/bin/sleep", "1000"};
        return rc;
    }

    /** Lets it end, by request or by death, and tells the service of it. */
    static void end(Service* service, milliseconds period = milliseconds(5000)) {
        int status = -1;
        ::kill(service->pid(), SIGKILL);
        waitpid(service->pid(), &status, 0);
        service->onEnd(status, period);
    }

    /** All states so far, each with a blank behind it. */
    std::string mStates;
    const Service::StateListener mListener = [this](const std::string&, const std::string& state) {
        mStates += state + " ";
    };
};

TEST_F(ServiceTest, isStartedAgainAPeriodAfterItsLastStart) {
    RcService own = service();
    own.restartPeriod = std::chrono::seconds(60);
    const struct {
        RcService rc;
        milliseconds period, expected;
    } kCases[] = {{service(), milliseconds(5000), milliseconds(5000)},
                  {service(), milliseconds(100), milliseconds(100)},
                  {own, milliseconds(100), milliseconds(60000)}};
    for (const auto& [rc, period, expected] : kCases) {
        Service one(rc, false, mListener);
        const auto before = Service::Clock::now();
        one.start();
        const auto after = Service::Clock::now();
        EXPECT_FALSE(one.restartTime());
        end(&one, period);
        EXPECT_GE(one.restartTime().value_or(before), before + expected);
        EXPECT_LE(one.restartTime().value_or(after), after + expected);
    }
}

TEST_F(ServiceTest, aOneshotRestartsOnRequestAlone) {
    RcService rc = service();
    rc.oneshot = true;
    Service one(rc, false, mListener);
    one.start();
    one.restart();
    end(&one);
    EXPECT_TRUE(one.restartTime() && *one.restartTime() <= Service::Clock::now());
    one.start();
    end(&one);
    EXPECT_FALSE(one.restartTime());
    EXPECT_EQ("running stopping restarting running stopped ", mStates);
}

TEST_F(ServiceTest, doesNotRunWithoutAProcess) {
    Service one(service(), false, mListener);
    gForkFails = true;
    one.start();
    gForkFails = false;
    EXPECT_FALSE(one.isRunning());
    one.start();
    EXPECT_TRUE(one.isRunning());
    end(&one);
    EXPECT_EQ("running restarting ", mStates);
}

}  // namespace
}  // namespace zstats::vdevice
