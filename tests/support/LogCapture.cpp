#include "tests/support/LogCapture.h"

#include <algorithm>

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
    // Not under the lock: the log waits here for lines that are on their way to onLine.
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(&LogCapture::onLine);
}

LogCapture::~LogCapture() {
    std::lock_guard<std::mutex> lock(gCapturesLock);
    std::vector<LogCapture*>& all = captures();
    all.erase(std::remove(all.begin(), all.end(), this), all.end());
}

void LogCapture::onLine(const __android_logger_data* data, const char* message) {
    std::lock_guard<std::mutex> lock(gCapturesLock);
    for (LogCapture* capture : captures()) {
        capture->add({data->priority, data->tag != nullptr ? data->tag : "", message});
    }
}

void LogCapture::add(LogLine line) {
    std::lock_guard<std::mutex> lock(mLock);
    mLines.push_back(std::move(line));
}

std::vector<LogLine> LogCapture::lines() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mLines;
}

std::vector<LogLine> LogCapture::linesOf(const std::string& tag) const {
    std::vector<LogLine> result = lines();
    auto other = [&](const LogLine& line) { return line.tag != tag; };
    result.erase(std::remove_if(result.begin(), result.end(), other), result.end());
    return result;
}

size_t LogCapture::count(int priority, const std::string& text) const {
    std::lock_guard<std::mutex> lock(mLock);
    return std::count_if(mLines.begin(), mLines.end(), [&](const LogLine& line) {
        return line.priority == priority && line.text.find(text) != std::string::npos;
    });
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> lock(mLock);
    mLines.clear();
}

}  // namespace zstats
