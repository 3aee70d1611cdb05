#include "tests/support/LogCapture.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace zstats {
namespace {

std::mutex gCapturesLock;
std::vector<LogCapture*>& captures() {
    // Never destroyed: threads of the code under test may log while the process exits.
    static auto* all = new std::vector<LogCapture*>;
    return *all;
}

}  // namespace

LogCapture::LogCapture() {
    {
        std::lock_guard<std::mutex> lock(gCapturesLock);
        captures().push_back(this);
    }
    // Without the lock: the log waits here until running calls of onLine have returned.
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(&LogCapture::onLine);
}

LogCapture::~LogCapture() {
    std::lock_guard<std::mutex> lock(gCapturesLock);
    std::vector<LogCapture*>& all = captures();
    all.erase(std::remove(all.begin(), all.end(), this), all.end());
}

void LogCapture::onLine(const __android_log_message* line) {
    std::vector<std::function<void()>> actions;
    {
        const std::lock_guard<std::mutex> lock(gCapturesLock);
        for (LogCapture* capture : captures()) {
            capture->add({line->priority, line->tag != nullptr ? line->tag : "", line->message});
            actions.push_back(capture->actionFor(line->message));
        }
    }
    // Without a lock: an action may log, or wait for a thread that does.
    for (const auto& action : actions) {
        if (action) action();
    }
}

void LogCapture::whenLogged(const std::string& text, std::function<void()> action) {
    const std::lock_guard<std::mutex> lock(mLock);
    mAwaited = text;
    mAction = std::move(action);
}

std::function<void()> LogCapture::actionFor(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mLock);
    return text == mAwaited ? std::exchange(mAction, nullptr) : nullptr;
}

void LogCapture::add(LogLine line) {
    const std::lock_guard<std::mutex> lock(mLock);
    mLines.push_back(std::move(line));
    mAdded.notify_all();
}

void LogCapture::waitFor(const std::string& text, size_t count) const {
    std::unique_lock<std::mutex> lock(mLock);
    const auto matches = [&](const LogLine& line) { return line.text == text; };
    mAdded.wait(lock, [&] {
        return std::count_if(mLines.begin(), mLines.end(), matches) >=
               static_cast<std::ptrdiff_t>(count);
    });
}

Lines LogCapture::take(const std::string& tag) {
    constexpr char kLetters[] = "??VDIWEF";
    Lines taken;
    const std::lock_guard<std::mutex> lock(mLock);
    for (const LogLine& line : std::exchange(mLines, {})) {
        if (line.tag != tag) continue;
        const bool known = line.priority >= 0 && line.priority <= ANDROID_LOG_FATAL;
        taken.push_back(std::string{known ? kLetters[line.priority] : '?'} + " " + line.text);
    }
    return taken;
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> lock(mLock);
    mLines.clear();
}

Lines atLevel(int32_t level, const Lines& lines) {
    Lines written;
    for (const std::string& line : lines) {
        if (line.size() < 2 || isalpha(line[0]) == 0 || isdigit(line[1]) == 0) {
            written.push_back(line);
        } else if (line[1] - '0' <= level) {
            written.push_back(line.substr(0, 1) + line.substr(2));
        }
    }
    return written;
}

}  // namespace zstats
