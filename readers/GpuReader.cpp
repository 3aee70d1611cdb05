#include "readers/GpuReader.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "daemon/base/Arithmetic.h"
#include "daemon/base/Log.h"
#include "daemon/base/SystemHelpers.h"
#include "daemon/base/TextLines.h"
#include "sources/HalHandleFactoryProxyAidl.h"

namespace zstats {
namespace {

constexpr char kQcomDelimiters[] = " \t\n";

/** The node's text, empty when it cannot be read. */
std::string readNode(const std::string& key) {
    std::string content;
    getContentByHandleKey(key, content);
    return content;
}

void logScanFailure(const char* operation, const std::string& line) {
    ZLOG_AT(2, DEBUG, "%s %s scan failed", operation, line.c_str());
}

}  // namespace

void parseQcomGpuFreqsKhz(const std::string& content, std::vector<int>& out) {
    std::vector<int> freqsMhz;
    splitString(content.c_str(), kQcomDelimiters, &freqsMhz);
    for (const int freqMhz : freqsMhz) out.push_back(wrap32(int64_t{freqMhz} * 1000));
}

void parseMtkGpuFreqsKhz(const std::string& content, std::vector<int>& out) {
    std::string line;  // sscanf needs NUL-terminated text
    forEachLine(content, [&](std::string_view view) {
        line.assign(view);
        int freqHz = 0;
        if (sscanf(line.c_str(), "%*[^1-9]%d", &freqHz) == 1) {
            out.push_back(freqHz / 1000);
        } else {
            logScanFailure("readFreqsKhz", line);
        }
    });
}

void parseMtkGpuFreqsTime(const std::string& content, std::vector<long long>& out) {
    std::string line;
    forEachLine(content, [&](std::string_view view) {
        line.assign(view);
        int freqHz = 0;
        long long time = 0;
        if (sscanf(line.c_str(), "%*[^1-9]%d%lld", &freqHz, &time) == 2) {
            out.push_back(time);
        } else {
            logScanFailure("readFreqsTime", line);
        }
    });
}

void QcomGpuStats::readFreqsKhz(std::vector<int>& out) {
    parseQcomGpuFreqsKhz(readNode(mFreqTableKey), out);
}

void QcomGpuStats::readFreqsTime(std::vector<long long>& out) {
    splitString(readNode(mFreqTimeKey).c_str(), kQcomDelimiters, &out);
}

void MtkGpuStats::readFreqsKhz(std::vector<int>& out) {
    parseMtkGpuFreqsKhz(readNode(mFreqTableKey), out);
}

void MtkGpuStats::readFreqsTime(std::vector<long long>& out) {
    parseMtkGpuFreqsTime(readNode(mFreqTimeKey), out);
}

std::shared_ptr<GpuStats> getGpuStats(const char* chipIdPath) {
    if (isQcomPlatform()) return std::make_shared<QcomGpuStats>();
    if (access(chipIdPath, F_OK) == 0) return std::make_shared<MtkGpuStats>();
    ZLOG(ERROR, "%s With a unknown vendor platform!", __func__);
    return nullptr;
}

GpuReader::GpuReader() : GpuReader(getGpuStats(kMtkChipIdPath)) {}

GpuReader::GpuReader(std::shared_ptr<GpuStats> stats)
      : mLastReadTimeMs(getBootTimeMs()),
        mCurrentReadTimeMs(mLastReadTimeMs),
        mStats(std::move(stats)) {
    if (mStats != nullptr) mStats->readFreqsKhz(mFreqsKhz);
    readFreqsTime(mLastTimes);
    mTimeDeltas.assign(mLastTimes.size(), 0);
}

void GpuReader::readFreqsTime(std::vector<long long>& out) {
    if (mStats == nullptr) return;
    // The read times are only logged.
    mLastReadTimeMs = mCurrentReadTimeMs;
    mCurrentReadTimeMs = getBootTimeMs();
    mStats->readFreqsTime(out);
}

std::vector<int> GpuReader::getGpuFreqsKhz() {
    if (mFreqsKhz.empty() && mStats != nullptr) mStats->readFreqsKhz(mFreqsKhz);
    return mFreqsKhz;
}

std::vector<long long> GpuReader::getGpuFreqsTimeDelta() {
    std::vector<long long> times;
    readFreqsTime(times);
    if (times.size() != mLastTimes.size()) {
        ZLOG(ERROR, "%s, last freq size %lu, curr freq size %lu", __func__, mLastTimes.size(),
             times.size());
        // Keeps the baseline, so a lasting change of the length is reported at every pull.
        mTimeDeltas.assign(mLastTimes.size(), 0);
    } else {
        std::transform(times.begin(), times.end(), mLastTimes.begin(), mTimeDeltas.begin(),
                       wrappingDifference);
        mLastTimes = std::move(times);
    }
    ZLOG_AT(2, DEBUG, "%s last time %lld, current time %lld", __func__,
            static_cast<long long>(mLastReadTimeMs), static_cast<long long>(mCurrentReadTimeMs));
    return mTimeDeltas;
}

}  // namespace zstats
