#include <android-base/file.h>
#include <android-base/strings.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <memory>
#include <string>

#include "vdevice/lib/Process.h"
#include "vdevice/system/scripthost/Session.h"

namespace zstats::vdevice {
namespace {

constexpr uint16_t kNumber = 7;

std::string number(uint32_t value) {
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
}

/** What a session has sent. */
struct Sent {
    std::string output;
    std::string errors;
    uint32_t taken = 0;
    std::string status;
};

/** A session whose port is a file. */
class SessionTest : public testing::Test {
  protected:
    SessionTest() {
        signal(SIGPIPE, SIG_IGN);
        setenv("VDEV_PORT", mPort.path, 1);
        mChannel = std::make_unique<Channel>();
        mSession = std::make_unique<Session>(kNumber, mChannel.get());
    }

    void send(FrameType type, const std::string& bytes) {
        mSession->onFrame({type, kNumber, bytes});
    }

    void run(const std::string& text, const std::string& kind) {
        send(FrameType::kText, text);
        send(FrameType::kBegin, kind);
    }

    void passOnce() {
        std::vector<pollfd> waiting;
        mSession->addTo(&waiting);
        poll(waiting.data(), waiting.size(), kTurnMs);
        mSession->pass();
    }

    void passUntil(const std::function<bool()>& condition) {
        while (!condition()) passOnce();
    }

    void passUntilExit() {
        int status = 0;
        passUntil([&] { return waitpid(mSession->pid(), &status, WNOHANG) == mSession->pid(); });
        mSession->flush();
        mSession->exit(shellStatus(status));
    }

    Sent sent() {
        std::string all;
        android::base::ReadFileToString(mPort.path, &all);
        FrameReader reader;
        reader.append(all);
        Sent result;
        while (const auto frame = reader.take()) {
            EXPECT_EQ(frame->session, kNumber);
            if (frame->type == FrameType::kOutput) result.output += frame->bytes;
            if (frame->type == FrameType::kErrors) result.errors += frame->bytes;
            if (frame->type == FrameType::kTaken) result.taken += decodeNumber(frame->bytes);
            if (frame->type == FrameType::kExit) {
                result.status += std::to_string(decodeNumber(frame->bytes));
            }
        }
        return result;
    }

    std::unique_ptr<Session> mSession;

  private:
    static constexpr int kTurnMs = 20;

    TemporaryFile mPort;
    std::unique_ptr<Channel> mChannel;
};

TEST_F(SessionTest, runsAScriptWithoutInput) {
    const std::string text = "cat; echo o; echo \"$0\" >&2; exit 3";
    run(text, "s");
    passUntilExit();
    EXPECT_EQ(sent().output, "o\n");
    EXPECT_EQ(sent().errors, "/script/main\n");
    EXPECT_EQ(sent().status, "3");
    EXPECT_EQ(sent().taken, text.size());
}

TEST_F(SessionTest, passesInputToItsEnd) {
    const std::string input("a\0\n\xff", 4);
    run("cat; echo end", "f");
    send(FrameType::kInput, input);
    send(FrameType::kInput, "");
    passUntilExit();
    EXPECT_EQ(sent().output, input + "end\n");
    EXPECT_EQ(sent().taken, std::string("cat; echo end").size() + input.size());
    EXPECT_EQ(sent().status, "0");
}

TEST_F(SessionTest, dropsInputThatIsNotRead) {
    run("exec <&-; echo closed; exec sleep 1000", "f");
    passUntil([&] { return sent().output == "closed\n"; });
    const uint32_t taken = sent().taken;
    send(FrameType::kInput, std::string(kInputWindow, 'x'));
    EXPECT_EQ(sent().taken - taken, kInputWindow);
    send(FrameType::kSignal, number(SIGKILL));
    passUntilExit();
    EXPECT_EQ(sent().status, "137");
}

TEST_F(SessionTest, sendsNoMoreThanItsWindow) {
    run("head -c 200000 /dev/zero; echo end >&2", "s");
    size_t allowed = kOutputWindow;
    for (const uint32_t more : {1000, 1, 0}) {
        passUntil([&] { return sent().output.size() >= allowed; });
        for (int i = 0; i < 3; ++i) passOnce();
        EXPECT_EQ(sent().output.size(), allowed);
        allowed += more;
        send(FrameType::kTaken, number(more));
    }
    send(FrameType::kTaken, number(200000));
    passUntilExit();
    EXPECT_EQ(sent().output.size(), 200000u);
    EXPECT_EQ(sent().errors, "end\n");
}

TEST_F(SessionTest, endsWithItsOwnProcess) {
    run("while :; do echo x; done & exit 4", "s");
    passUntilExit();
    EXPECT_EQ(sent().status, "4");
}

TEST_F(SessionTest, canEndBeforeItHasBegun) {
    send(FrameType::kText, "true");
    send(FrameType::kSignal, number(SIGHUP));
    EXPECT_TRUE(mSession->hasFailed());
    EXPECT_EQ(sent().status, "126");
}

TEST_F(SessionTest, hasATerminalOfASize) {
    send(FrameType::kBegin, std::string("t\x21\0\x6f\0", 5));
    send(FrameType::kInput, "echo; stty size; exit 5\r");
    passUntilExit();
    const auto lines = android::base::Split(sent().output, "\r\n");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "33 111"), 1) << sent().output;
    EXPECT_EQ(sent().status, "5");
}

}  // namespace
}  // namespace zstats::vdevice
