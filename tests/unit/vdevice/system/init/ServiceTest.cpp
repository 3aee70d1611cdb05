#include <android-base/file.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "tests/support/TempTree.h"
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
using std::chrono::seconds;
using Clock = Service::Clock;

/** Services that are real processes, under the test's own user. */
class ServiceTest : public testing::Test {
  protected:
    void SetUp() override {
        if (getuid() != 0) GTEST_SKIP() << "only root can start services";
    }

    Service service(const std::string& script, bool oneshot = false) {
        RcService rc;
        rc.name = "test";
        rc.command = {"/bin/sh", "-c", script};
        rc.oneshot = oneshot;
        return Service(rc, false, [this](const std::string&, const std::string& state) {
            mStates += state + " ";
        });
    }

    /** Waits for the process's end and tells the service of it. */
    static int end(Service* service, milliseconds period = seconds(5)) {
        int status = -1;
        waitpid(service->pid(), &status, 0);
        service->onEnd(status, period);
        return status;
    }

    /** All states so far, each with a blank behind it. */
    std::string mStates;
};

TEST_F(ServiceTest, isStartedAgainAPeriodAfterItsLastStart) {
    Service one = service("exit 0");
    for (const milliseconds period : {milliseconds(5000), milliseconds(100)}) {
        const auto before = Clock::now();
        one.start();
        const auto after = Clock::now();
        EXPECT_FALSE(one.restartTime());
        end(&one, period);
        ASSERT_TRUE(one.restartTime());
        EXPECT_GE(*one.restartTime(), before + period);
        EXPECT_LE(*one.restartTime(), after + period);
    }
    EXPECT_EQ("running restarting running restarting ", mStates);
}

TEST_F(ServiceTest, theRcFilesOwnPeriodPrecedes) {
    RcService rc;
    rc.command = {"/bin/true"};
    rc.restartPeriod = seconds(60);
    Service one(rc, false, [](const std::string&, const std::string&) {});
    const auto before = Clock::now();
    one.start();
    end(&one);
    EXPECT_GE(one.restartTime().value_or(before), before + seconds(60));
}

TEST_F(ServiceTest, stopsForGoodWhetherItRunsOrWaitsForItsRestart) {
    Service waiting = service("exit 0");
    waiting.start();
    end(&waiting);
    waiting.stop();
    EXPECT_FALSE(waiting.restartTime());
    EXPECT_EQ("running restarting stopped ", mStates);

    mStates.clear();
    Service running = service("sleep 1000");
    running.start();
    running.stop();
    EXPECT_EQ(SIGKILL, WTERMSIG(end(&running)));
    EXPECT_FALSE(running.restartTime() || running.isRunning());
    EXPECT_EQ("running stopping stopped ", mStates);
}

TEST_F(ServiceTest, aOneshotRestartsOnRequestAlone) {
    Service one = service("sleep 1000", true);
    one.start();
    one.restart();
    end(&one);
    EXPECT_TRUE(one.restartTime() && *one.restartTime() <= Clock::now());
    one.start();
    one.stop();
    end(&one);
    EXPECT_EQ("running stopping restarting running stopping stopped ", mStates);
}

TEST_F(ServiceTest, doesNotRunWithoutAProcess) {
    Service one = service("exit 0");
    gForkFails = true;
    one.start();
    gForkFails = false;
    EXPECT_FALSE(one.isRunning());
    EXPECT_EQ("", mStates);
    one.start();
    EXPECT_TRUE(one.isRunning());
    end(&one);
    EXPECT_EQ("running restarting ", mStates);
}

TEST_F(ServiceTest, hasItsStandardDescriptorsOnTheNullDevice) {
    const TempTree tree;
    const std::string out = tree.path("out");
    Service one =
            service("all=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2)\n"
                    "echo \"$all\" >" +
                            out,
                    true);
    one.start();
    EXPECT_EQ(0, end(&one));
    std::string content;
    EXPECT_TRUE(android::base::ReadFileToString(out, &content));
    EXPECT_EQ("/dev/null\n/dev/null\n/dev/null\n", content);
}

}  // namespace
}  // namespace zstats::vdevice
