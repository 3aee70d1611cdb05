#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <thread>

#include "acquire/Cmd.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessCalls.h"
#include "tests/unit/acquire/AcquireKit.h"

using android::status_t;

namespace zstats {
namespace {

using Arguments = std::vector<std::string_view>;

class CmdTest : public testing::Test {
  protected:
    CmdTest() {
        gLogLevel = 0;
        inprocess::reset();
        takeProcessCalls();
    }
    ~CmdTest() override { inprocess::reset(); }

    int32_t run(const Arguments& argv, RunMode runMode = RunMode::kStandalone) {
        const int32_t result = cmdMain(argv, mOutput, mError, 11, 12, 13, runMode);
        EXPECT_EQ(takeProcessCalls(), Lines{"startThreadPool"});
        return result;
    }

    /** Expects this result and these texts in both modes, and the warning only in kStandalone. */
    void expectRuns(const Arguments& argv, int32_t result, const std::string& output,
                    const std::string& error, const Lines& warnings) {
        for (const RunMode mode : {RunMode::kStandalone, RunMode::kLibrary}) {
            EXPECT_EQ(run(argv, mode), result);
            EXPECT_EQ(mOutput.take(), output);
            EXPECT_EQ(mError.take(), error);
            EXPECT_EQ(mLog.take("cmd"), mode == RunMode::kStandalone ? warnings : Lines{});
        }
    }

    LogCapture mLog;
    TextCapture mOutput;
    TextCapture mError;
};

TEST_F(CmdTest, LooksTheServiceUpAndHandsItArgumentsAndDescriptors) {
    const struct {
        Arguments argv;
        std::string service;
        Lines arguments;
        status_t status = android::OK;  // of the call; only a negative status is a failure
        std::string lookUp = "check ";
    } rows[] = {{{"stats"}, "stats", {}},
                {{"stats", "data-subscribe"}, "stats", {"data-subscribe"}, 1},
                {{"stats", "", "-w", "\xe2\x82\xac"}, "stats", {"", "-w", "\xe2\x82\xac"}},
                {{"-w", "stats", "-l"}, "stats", {"-l"}, 2147483647, "waitFor "},
                {{"-w", "-w"}, "-w", {}, android::OK, "waitFor "},
                {{"-w"}, "-w", {}},
                {{"-l", "x"}, "-l", {"x"}}};
    for (const auto& row : rows) {
        inprocess::reset();
        publishCommand(row.service, [&](const ShellCall& call) {
            EXPECT_EQ(call.arguments, row.arguments);
            EXPECT_EQ(std::tuple(call.in, call.out, call.err), std::tuple(11, 12, 13));
            for (const int32_t result : {6, 7}) call.receiver->send(result);
            return row.status;
        });
        expectRuns(row.argv, 7, "", "", {});
        EXPECT_EQ(inprocess::lookUps(), Lines(2, row.lookUp + row.service));
    }
}

TEST_F(CmdTest, WaitsForAServiceOnRequest) {
    std::thread waiting([&] { EXPECT_EQ(run({"-w", "late"}), 0); });
    inprocess::waitForLookUp("waitFor late");
    publishCommand("late", FakeCommand::answer);
    waiting.join();
}

TEST_F(CmdTest, SaysWhatItMisses) {
    const Lines noManager = {"W Unable to get default service manager!"};
    const std::string unspecified =
            "cmd: No service specified; use -l to list all running services. Use -w to start and "
            "wait for a service.\n";
    expectRuns({"nobody", "x"}, 20, "", "cmd: Can't find service: nobody\n",
               {"W Can't find service nobody"});
    expectRuns({"-w"}, 20, "", "cmd: Can't find service: -w\n", {"W Can't find service -w"});
    expectRuns({}, 20, "", unspecified, {});
    inprocess::hideServiceManager(true);
    for (const Arguments& argv : {Arguments{}, {"-l"}, {"stats"}}) {
        expectRuns(argv, 20, "", "cmd: Unable to get default service manager!\n", noManager);
    }
}

TEST_F(CmdTest, ListsTheServicesThatAreThereByUnitOfTheirNames) {
    expectRuns({"-l"}, 0, "Currently running services:\n", "", {});
    // In UTF-16 units a character with surrogates precedes the last one without, unlike in UTF-8.
    for (const char* name : {"\xef\xbc\x80", "\xf0\x90\x80\x80", "audio2", "audio", "Zygote"}) {
        publishCommand(name, FakeCommand::answer);
    }
    inprocess::listGone("gone");
    expectRuns({"-l"}, 0,
               "Currently running services:\n  Zygote\n  audio\n  audio2\n  \xf0\x90\x80\x80\n"
               "  \xef\xbc\x80\n",
               "", {});
    EXPECT_EQ(inprocess::lookUps().size(), 12u) << "each name once in each run";
}

TEST_F(CmdTest, NamesTheStatusOfAFailedCallOnTheOutput) {
    const std::pair<status_t, const char*> rows[] = {
            {android::BAD_TYPE, "Bad type (2147483647)"},
            {android::FAILED_TRANSACTION, "Failed transaction (2147483646)"},
            {android::FDS_NOT_ALLOWED, "File descriptors not allowed (2147483641)"},
            {android::UNEXPECTED_NULL, "Unexpected null (2147483640)"},
            {android::UNKNOWN_ERROR, "Unknown error -2147483648 (-2147483648)"},
            {-1, "Operation not permitted (1)"},
            {android::DEAD_OBJECT, "Broken pipe (32)"},  // last: a proxy stays dead
    };
    const auto remote = publishCommand("broken", FakeCommand::answer);
    for (const auto& [status, text] : rows) {
        remote->failCalls(status);
        const std::string line = std::string("Failure calling service broken: ") + text;
        expectRuns({"broken", "x"}, status, "cmd: " + line + "\n", "", {"W " + line});
    }
}

TEST_F(CmdTest, FlushesStandardOutputInStandaloneModeAlone) {
    publishCommand("stats", [](const ShellCall& call) {
        call.receiver->send(static_cast<int32_t>(lseek(STDOUT_FILENO, 0, SEEK_CUR)));
        return android::OK;
    });
    testing::internal::CaptureStdout();
    printf("held");
    EXPECT_EQ(run({"stats"}, RunMode::kLibrary), 0);
    EXPECT_EQ(run({"stats"}), 4);
    testing::internal::GetCapturedStdout();
}

TEST_F(CmdTest, GetsAResultThatRacesWithItsWait) {
    std::vector<std::thread> senders;
    publishCommand("quick", [&](const ShellCall& call) {
        senders.emplace_back([receiver = call.receiver] { receiver->send(INT32_MIN); });
        return android::OK;
    });
    for (int i = 0; i < 500; ++i) EXPECT_EQ(run({"quick"}), INT32_MIN);
    for (std::thread& sender : senders) sender.join();
}

}  // namespace
}  // namespace zstats
