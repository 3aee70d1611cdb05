#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "acquire/Cmd.h"
#include "host/inprocess/InProcessBinder.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/acquire/AcquireKit.h"

using android::status_t;

namespace zstats {
namespace {

using Arguments = std::vector<std::string>;

class CmdTest : public testing::Test {
  protected:
    void TearDown() override { inprocess::reset(); }

    int32_t run(const std::vector<std::string_view>& argv, RunMode runMode = RunMode::kStandalone) {
        return cmdMain(argv, mOutput, mError, STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO, runMode);
    }

    /** The warnings under the client's own tag, one a line. */
    std::string warnings() const {
        std::string text;
        for (const LogLine& line : mLog.linesOf("cmd")) {
            EXPECT_EQ(line.priority, ANDROID_LOG_WARN);
            text += line.text + "\n";
        }
        return text;
    }

    /** Publishes a command that keeps the arguments it is called with. */
    static void publishRecorder(const std::string& name, Arguments* arguments) {
        publishCommand(name, [arguments](const ShellCall& call) {
            *arguments = call.arguments;
            EXPECT_EQ(call.in, STDIN_FILENO);
            EXPECT_EQ(call.out, STDOUT_FILENO);
            EXPECT_EQ(call.err, STDERR_FILENO);
            call.receiver->send(7);
            return android::OK;
        });
    }

    LogCapture mLog;
    TextCapture mOutput;
    TextCapture mError;
};

TEST_F(CmdTest, TakesItsArgumentsApart) {
    struct {
        std::vector<std::string_view> argv;
        const char* service;
        Arguments arguments;
    } const rows[] = {
            {{"stats"}, "stats", {}},
            {{"stats", "data-subscribe"}, "stats", {"data-subscribe"}},
            {{"stats", "", "-w", "\xe2\x82\xac"}, "stats", {"", "-w", "\xe2\x82\xac"}},
            {{"-w", "stats", "-l"}, "stats", {"-l"}},
            {{"-w", "-w"}, "-w", {}},
            {{"-w"}, "-w", {}},
            {{"-l", "x"}, "-l", {"x"}},
    };
    for (const auto& row : rows) {
        Arguments seen{"none"};
        publishRecorder(row.service, &seen);
        EXPECT_EQ(run(row.argv), 7) << row.argv[0];
        EXPECT_EQ(seen, row.arguments);
        inprocess::reset();
    }
    EXPECT_EQ(mOutput.text() + mError.text(), "");
    EXPECT_GE(fcntl(STDOUT_FILENO, F_GETFD), 0) << "the caller's descriptors stay open";
}

TEST_F(CmdTest, WaitsForAServiceOnRequest) {
    Arguments arguments;
    std::thread waiting([&] { EXPECT_EQ(run({"-w", "late", "now"}), 7); });
    publishRecorder("late", &arguments);
    waiting.join();
    EXPECT_EQ(arguments, Arguments{"now"});
}

TEST_F(CmdTest, SaysWhatItMisses) {
    const std::string unspecified =
            "No service specified; use -l to list all running services. Use -w to start and wait "
            "for a service.\n";
    const std::string noManager = "Unable to get default service manager!\n";
    struct {
        std::vector<std::string_view> argv;
        bool withoutManager;
        std::string error;
        std::string warning;
    } const rows[] = {
            {{"nobody", "x"}, false, "Can't find service: nobody\n", "Can't find service nobody\n"},
            {{"-w"}, false, "Can't find service: -w\n", "Can't find service -w\n"},
            {{"-l", "x"}, false, "Can't find service: -l\n", "Can't find service -l\n"},
            {{}, false, unspecified, ""},
            {{}, true, noManager, noManager}};
    std::string error;
    std::string warning;
    for (const auto& row : rows) {
        inprocess::hideServiceManager(row.withoutManager);
        EXPECT_EQ(run(row.argv), 20);
        EXPECT_EQ(run(row.argv, RunMode::kLibrary), 20);
        error += "cmd: " + row.error + "cmd: " + row.error;
        warning += row.warning;
    }
    EXPECT_EQ(mError.text(), error);
    EXPECT_EQ(warnings(), warning);
    EXPECT_EQ(mOutput.text(), "");
}

TEST_F(CmdTest, ListsServicesByUnitOfTheirNames) {
    // The character beyond the surrogates comes before the last one below them, unlike in UTF-8.
    for (const char* name : {"\xef\xbc\x80", "\xf0\x90\x80\x80", "audio2", "audio", "Zygote"}) {
        publishCommand(name, FakeCommand::answer);
    }
    EXPECT_EQ(run({"-l"}), 0);
    EXPECT_EQ(mOutput.text(),
              "Currently running services:\n  Zygote\n  audio\n  audio2\n  \xf0\x90\x80\x80\n"
              "  \xef\xbc\x80\n");
    EXPECT_EQ(mError.text(), "");
}

TEST_F(CmdTest, NamesTheStatusOfAFailedCallOnTheOutput) {
    struct {
        status_t status;
        const char* text;
    } const rows[] = {
            {android::BAD_TYPE, "Bad type (2147483647)"},
            {android::FAILED_TRANSACTION, "Failed transaction (2147483646)"},
            {android::FDS_NOT_ALLOWED, "File descriptors not allowed (2147483641)"},
            {android::UNEXPECTED_NULL, "Unexpected null (2147483640)"},
            {android::UNKNOWN_ERROR, "Unknown error -2147483648 (-2147483648)"},
            {android::DEAD_OBJECT, "Broken pipe (32)"},
    };
    std::string output;
    std::string log;
    const auto remote = publishCommand("broken", FakeCommand::answer);
    for (const auto& row : rows) {
        remote->failCalls(row.status);
        EXPECT_EQ(run({"broken", "x"}), row.status);
        EXPECT_EQ(run({"broken"}, RunMode::kLibrary), row.status);
        const std::string line = std::string("Failure calling service broken: ") + row.text + "\n";
        output += "cmd: " + line + "cmd: " + line;
        log += line;
    }
    EXPECT_EQ(mOutput.text(), output);
    EXPECT_EQ(warnings(), log);
    EXPECT_EQ(mError.text(), "");
}

TEST_F(CmdTest, NeverLosesAResultThatComesBeforeTheWait) {
    constexpr int64_t kStep = UINT32_MAX / 9999;
    int64_t next = INT32_MIN;
    publishCommand("quick", [&](const ShellCall& call) {
        call.receiver->send(static_cast<int32_t>(next));
        return android::OK;
    });
    int32_t lost = 0;
    for (int i = 0; i < 10000; ++i, next += kStep) lost += run({"quick"}) != next ? 1 : 0;
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(mOutput.text() + mError.text() + warnings(), "");
}

TEST_F(CmdTest, GetsAResultThatRacesWithTheWait) {
    std::vector<std::thread> senders;
    publishCommand("racing", [&](const ShellCall& call) {
        senders.emplace_back([receiver = call.receiver] { receiver->send(9); });
        return android::OK;
    });
    int32_t wrong = 0;
    for (int i = 0; i < 500; ++i) wrong += run({"racing"}) != 9 ? 1 : 0;
    EXPECT_EQ(wrong, 0);
    for (std::thread& sender : senders) sender.join();
}

}  // namespace
}  // namespace zstats
