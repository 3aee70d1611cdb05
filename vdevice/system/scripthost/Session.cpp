#include "vdevice/system/scripthost/Session.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <limits>

#include "vdevice/lib/Process.h"

namespace zstats::vdevice {
namespace {

using android::base::Pipe;
using android::base::unique_fd;

constexpr char kShell[] = "/bin/sh";
constexpr int32_t kStatusNotBegun = 126;
constexpr size_t kPipeBytes = 65536;
constexpr size_t kMaxTextBytes = 131072;  // the kernel's limit of an argument

void setNonBlocking(const unique_fd& fd) {
    fcntl(fd.get(), F_SETFL, fcntl(fd.get(), F_GETFL) | O_NONBLOCK);
}

winsize sizeIn(std::string_view bytes) {
    winsize size = {};
    const uint32_t linesAndColumns = decodeNumber(bytes);
    size.ws_row = static_cast<uint16_t>(linesAndColumns);
    size.ws_col = static_cast<uint16_t>(linesAndColumns >> 16);
    return size;
}

}  // namespace

void Session::beginBoot() {
    mWindow = std::numeric_limits<size_t>::max();
    startOnPipes(false, {"sh", kScriptPath, nullptr});
}

void Session::onFrame(const Frame& frame) {
    switch (frame.type) {
        case FrameType::kText:
            return addText(frame);
        case FrameType::kBegin:
            return begin(frame);
        case FrameType::kSize:
            return resize(frame.bytes);
        case FrameType::kSignal:
            return signal(static_cast<int>(decodeNumber(frame.bytes)));
        case FrameType::kTaken:
            mWindow += decodeNumber(frame.bytes);
            return;
        case FrameType::kInput:
            mInputPending += frame.bytes;
            mInputEnds = frame.bytes.empty();
            return feed();
        default:
            return;
    }
}

void Session::addText(const Frame& frame) {
    if (mText.size() < kMaxTextBytes) mText += frame.bytes;
    sayTaken(frame.bytes.size());
}

void Session::begin(const Frame& frame) {
    if (frame.bytes.empty() || mPid > 0) return;
    const auto kind = static_cast<SessionKind>(frame.bytes[0]);
    if (kind == SessionKind::kTerminal) return startInTerminal(frame);
    startOnPipes(kind == SessionKind::kFilter, {"sh", "-c", mText.c_str(), kScriptPath, nullptr});
}

void Session::startOnPipes(bool hasInput, const std::vector<const char*>& command) {
    unique_fd input, output, errors;
    if (!Pipe(&input, &mInput) || !Pipe(&mOutput, &output) || !Pipe(&mErrors, &errors)) {
        return fail("pipe2");
    }
    if (!hasInput) {
        input.reset(open("/dev/null", O_RDONLY | O_CLOEXEC));
        mInput.reset();
    }
    mPid = fork();
    if (mPid < 0) return fail("fork");
    if (mPid == 0) {
        becomeChild();
        setsid();
        execProgram(kShell, command.data(), {input.get(), output.get(), errors.get()});
    }
    for (const unique_fd* fd : {&mInput, &mOutput, &mErrors}) setNonBlocking(*fd);
}

void Session::startInTerminal(const Frame& frame) {
    const winsize size = sizeIn(std::string_view(frame.bytes).substr(1));
    int terminal = -1;
    mPid = forkpty(&terminal, nullptr, nullptr, &size);
    if (mPid < 0) return fail("forkpty");
    if (mPid == 0) {
        becomeChild();
        const char* const command[] = {"-sh", nullptr};
        execProgram(kShell, command, {0, 1, 2});
    }
    mOutput.reset(terminal);
    mInput.reset(fcntl(terminal, F_DUPFD_CLOEXEC, 0));
    fcntl(terminal, F_SETFD, FD_CLOEXEC);
    setNonBlocking(mOutput);
}

void Session::fail(const char* call) {
    const std::string line = std::string("scripthost: ") + call + ": " + strerror(errno) + "\n";
    mChannel->send(FrameType::kErrors, line, mNumber);
    exit(kStatusNotBegun);
    mFailed = true;
}

void Session::resize(std::string_view size) {
    const winsize wanted = sizeIn(size);
    ioctl(mOutput.get(), TIOCSWINSZ, &wanted);
}

void Session::signal(int number) {
    if (mPid > 0) {
        kill(-mPid, number);
        return;
    }
    exit(kStatusNotBegun);
    mFailed = true;
}

void Session::addTo(std::vector<pollfd>* waiting) const {
    // Left out, because poll() reports hang-ups also without requested events.
    const bool reads = mWindow > 0;
    waiting->push_back({reads ? mOutput.get() : -1, POLLIN, 0});
    waiting->push_back({reads ? mErrors.get() : -1, POLLIN, 0});
    waiting->push_back({mInputPending.empty() ? -1 : mInput.get(), POLLOUT, 0});
}

void Session::pass() {
    for (const auto& [from, type] :
         {std::pair{&mOutput, FrameType::kOutput}, std::pair{&mErrors, FrameType::kErrors}}) {
        mWindow -= passOnce(from, type, mWindow);
    }
    feed();
}

/** Forwards at most `most` available bytes; returns their number. Closes `from` at its end. */
size_t Session::passOnce(unique_fd* from, FrameType type, size_t most) {
    std::array<char, kMaxFrameBytes> buffer;
    if (!from->ok() || most == 0) return 0;
    const ssize_t count = read(from->get(), buffer.data(), std::min(most, buffer.size()));
    if (count > 0) {
        mChannel->send(type, {buffer.data(), static_cast<size_t>(count)}, mNumber);
        return static_cast<size_t>(count);
    }
    if (count == 0 || errno != EAGAIN) from->reset();
    return 0;
}

void Session::feed() {
    while (!mInputPending.empty()) {
        // Without a reader, the input is discarded.
        ssize_t count = static_cast<ssize_t>(mInputPending.size());
        if (mInput.ok()) count = write(mInput.get(), mInputPending.data(), mInputPending.size());
        if (count < 0 && errno == EAGAIN) return;
        if (count < 0) {
            mInput.reset();
            continue;
        }
        mInputPending.erase(0, static_cast<size_t>(count));
        sayTaken(static_cast<size_t>(count));
    }
    if (mInputEnds) mInput.reset();
}

void Session::sayTaken(size_t count) {
    const auto number = static_cast<uint32_t>(count);
    mChannel->send(FrameType::kTaken, {reinterpret_cast<const char*>(&number), sizeof(number)},
                   mNumber);
}

void Session::flush() {
    for (const auto& [from, type] :
         {std::pair{&mOutput, FrameType::kOutput}, std::pair{&mErrors, FrameType::kErrors}}) {
        size_t left = kPipeBytes;
        while (const size_t passed = passOnce(from, type, left)) left -= passed;
    }
}

void Session::exit(int32_t status) {
    mChannel->send(FrameType::kExit, {reinterpret_cast<const char*>(&status), sizeof(status)},
                   mNumber);
}

}  // namespace zstats::vdevice
