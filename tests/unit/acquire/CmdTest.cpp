#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "acquire/Cmd.h"
#include "host/inprocess/InProcessBinder.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/acquire/AcquireKit.h"

using android::IBinder;
using android::sp;
using android::status_t;
using android::String16;

namespace zstats {
namespace {

constexpr char kUsage[] =
        "cmd: No service specified; use -l to list all running services. Use -w to start and wait "
        "for a service.\n";

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
    void publishRecorder(const std::string& name, std::vector<std::string>* arguments) {
        inprocess::publish(name, sp<IBinder>(new FakeCommand([arguments](const ShellCall& call) {
                               *arguments = call.arguments;
                               call.receiver->send(7);
                               return android::OK;
                           })));
    }

    LogCapture mLog;
    TextCapture mOutput;
    TextCapture mError;
};

TEST_F(CmdTest, ReturnsTheResultOfTheCommand) {
    for (int32_t result : {0, 1, 20, 255, -1, INT32_MAX, INT32_MIN}) {
        inprocess::publish("answer", sp<IBinder>(FakeCommand::answering(result)));
        EXPECT_EQ(run({"answer", "x"}), result);
    }
    EXPECT_EQ(mOutput.text() + mError.text() + warnings(), "");
}

TEST_F(CmdTest, PassesItsDescriptorsOn) {
    int in = -1;
    int out = -1;
    int err = -1;
    inprocess::publish("fds", sp<IBinder>(new FakeCommand([&](const ShellCall& call) {
                           in = call.in;
                           out = call.out;
                           err = call.err;
                           call.receiver->send(0);
                           return android::OK;
                       })));
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    cmdMain({"fds"}, mOutput, mError, ends[0], ends[1], STDERR_FILENO, RunMode::kLibrary);
    EXPECT_EQ(in, ends[0]);
    EXPECT_EQ(out, ends[1]);
    EXPECT_EQ(err, STDERR_FILENO);
    EXPECT_EQ(close(ends[0]), 0) << "the caller's descriptors stay open";
    EXPECT_EQ(close(ends[1]), 0);
}

TEST_F(CmdTest, TakesItsArgumentsApart) {
    using Arguments = std::vector<std::string>;
    struct {
        std::vector<std::string_view> argv;
        const char* service;
        Arguments arguments;
    } const rows[] = {
            {{"stats"}, "stats", {}},
            {{"stats", "data-subscribe"}, "stats", {"data-subscribe"}},
            {{"stats", "", "-w", "\xc3\xa9\xe2\x82\xac"},
             "stats",
             {"", "-w", "\xc3\xa9\xe2\x82\xac"}},
            {{"-w", "stats", "-l"}, "stats", {"-l"}},
            {{"-w", "-w"}, "-w", {}},
            {{"-w"}, "-w", {}},
            {{"-l", "x"}, "-l", {"x"}},
            {{"-l", "-l"}, "-l", {"-l"}},
    };
    for (const auto& row : rows) {
        Arguments seen{"none"};
        publishRecorder(row.service, &seen);
        EXPECT_EQ(run(row.argv), 7) << row.argv[0];
        EXPECT_EQ(seen, row.arguments);
        inprocess::reset();
    }
    EXPECT_EQ(mOutput.text() + mError.text(), "");
}

TEST_F(CmdTest, MissesAServiceWithoutWaiting) {
    struct {
        std::vector<std::string_view> argv;
        std::string name;
    } const rows[] = {{{"nobody", "x"}, "nobody"}, {{"-w"}, "-w"}, {{"-l", "x"}, "-l"}, {{""}, ""}};
    std::string text;
    std::string log;
    for (const auto& row : rows) {
        EXPECT_EQ(run(row.argv), 20);
        EXPECT_EQ(run(row.argv, RunMode::kLibrary), 20);
        text += "cmd: Can't find service: " + row.name + "\n";
        text += "cmd: Can't find service: " + row.name + "\n";
        log += "Can't find service " + row.name + "\n";
    }
    EXPECT_EQ(mError.text(), text);
    EXPECT_EQ(warnings(), log);
    EXPECT_EQ(mOutput.text(), "");
}

TEST_F(CmdTest, WaitsForAServiceOnRequest) {
    std::vector<std::string> arguments;
    int32_t result = 0;
    std::thread waiting([&] { result = run({"-w", "late", "now"}); });
    publishRecorder("late", &arguments);
    waiting.join();
    EXPECT_EQ(result, 7);
    EXPECT_EQ(arguments, std::vector<std::string>{"now"});
}

TEST_F(CmdTest, AsksForAService) {
    EXPECT_EQ(run({}), 20);
    EXPECT_EQ(mError.text(), kUsage);
    EXPECT_EQ(mOutput.text() + warnings(), "");
}

TEST_F(CmdTest, NeedsAServiceManager) {
    inprocess::hideServiceManager(true);
    EXPECT_EQ(run({"stats"}, RunMode::kLibrary), 20);
    EXPECT_EQ(warnings(), "");
    EXPECT_EQ(run({}), 20);
    const std::string line = "cmd: Unable to get default service manager!\n";
    EXPECT_EQ(mError.text(), line + line);
    EXPECT_EQ(warnings(), "Unable to get default service manager!\n");
}

TEST_F(CmdTest, ListsServicesByName) {
    const sp<IBinder> service = FakeCommand::answering(0);
    for (const char* name : {"stats", "audio", "Zygote", "atomacq", "audio2"}) {
        inprocess::publish(name, service);
    }
    EXPECT_EQ(run({"-l"}), 0);
    EXPECT_EQ(mOutput.text(),
              "Currently running services:\n  Zygote\n  atomacq\n  audio\n  audio2\n  stats\n");
    EXPECT_EQ(mError.text(), "");
}

TEST_F(CmdTest, SortsByUnitOfTheText) {
    struct {
        const char16_t* left;
        const char16_t* right;
        int sign;
    } const rows[] = {
            {u"a", u"b", -1},
            {u"b", u"a", 1},
            {u"a", u"a", 0},
            {u"a", u"ab", -1},
            {u"Z", u"a", -1},
            {u"", u"a", -1},
            {u"\uff00", u"a", 1},
            // One unit above the surrogates sorts behind a pair of them.
            {u"\U00010000", u"\ue000", -1},
    };
    for (const auto& row : rows) {
        const String16 left(row.left);
        const String16 right(row.right);
        const int order = sort_func(&left, &right);
        EXPECT_EQ((order > 0) - (order < 0), row.sign);
    }
}

struct FailureRow {
    status_t status;
    const char* text;
};

class CmdFailureTest : public CmdTest, public testing::WithParamInterface<FailureRow> {};

TEST_P(CmdFailureTest, NamesTheStatusOnTheOutput) {
    const auto remote = inprocess::publish("broken", sp<IBinder>(FakeCommand::answering(0)));
    remote->failCalls(GetParam().status);
    EXPECT_EQ(run({"broken", "x"}), GetParam().status);
    const std::string line =
            std::string("Failure calling service broken: ") + GetParam().text + "\n";
    EXPECT_EQ(mOutput.text(), "cmd: " + line);
    EXPECT_EQ(warnings(), line);
    EXPECT_EQ(run({"broken"}, RunMode::kLibrary), GetParam().status);
    EXPECT_EQ(mOutput.text(), "cmd: " + line + "cmd: " + line);
    EXPECT_EQ(warnings(), line);
    EXPECT_EQ(mError.text(), "");
}

INSTANTIATE_TEST_SUITE_P(
        Statuses, CmdFailureTest,
        testing::Values(
                FailureRow{android::BAD_TYPE, "Bad type (2147483647)"},
                FailureRow{android::FAILED_TRANSACTION, "Failed transaction (2147483646)"},
                FailureRow{android::FDS_NOT_ALLOWED, "File descriptors not allowed (2147483641)"},
                FailureRow{android::UNEXPECTED_NULL, "Unexpected null (2147483640)"},
                FailureRow{android::PERMISSION_DENIED, "Operation not permitted (1)"},
                FailureRow{android::DEAD_OBJECT, "Broken pipe (32)"},
                FailureRow{android::UNKNOWN_TRANSACTION, "Bad message (74)"},
                FailureRow{android::UNKNOWN_ERROR, "Unknown error -2147483648 (-2147483648)"}));

TEST_F(CmdTest, ReturnsAtOnceWhenTheCallFailsAlthoughAResultCame) {
    inprocess::publish("both", sp<IBinder>(new FakeCommand([](const ShellCall& call) {
                           call.receiver->send(3);
                           return android::PERMISSION_DENIED;
                       })));
    EXPECT_EQ(run({"both"}), android::PERMISSION_DENIED);
}

TEST_F(CmdTest, NeverLosesAResultThatComesBeforeTheWait) {
    int32_t next = 0;
    inprocess::publish("quick", sp<IBinder>(new FakeCommand([&](const ShellCall& call) {
                           call.receiver->send(++next);
                           return android::OK;
                       })));
    int32_t lost = 0;
    for (int32_t i = 1; i <= 10000; ++i) lost += run({"quick"}, RunMode::kLibrary) != i ? 1 : 0;
    EXPECT_EQ(lost, 0);
}

TEST_F(CmdTest, GetsAResultThatRacesWithTheWait) {
    std::vector<std::thread> senders;
    inprocess::publish("racing", sp<IBinder>(new FakeCommand([&](const ShellCall& call) {
                           senders.emplace_back([receiver = call.receiver] { receiver->send(9); });
                           return android::OK;
                       })));
    int32_t wrong = 0;
    for (int i = 0; i < 500; ++i) wrong += run({"racing"}) != 9 ? 1 : 0;
    EXPECT_EQ(wrong, 0);
    for (std::thread& sender : senders) sender.join();
}

}  // namespace
}  // namespace zstats
