#include "atoms/MemoryStorageAtoms.h"

#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "atoms/AtomEvent.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Arithmetic.h"
#include "daemon/base/Log.h"
#include "daemon/base/SystemHelpers.h"
#include "daemon/base/TextLines.h"

namespace zstats {

namespace {

constexpr std::string_view kFreqMark = "Freq";
constexpr std::string_view kMhzMark = "Mhz";
constexpr std::string_view kTimeMark = "Time(msec):";
// Index of the frequency's text: lines begin with "Freq" and one separator.
constexpr size_t kFreqTextStart = 5;

/** `text` without its leading blanks; throws std::out_of_range when it is empty or blank. */
std::string stripLeading(std::string_view text) {
    const size_t start = text.find_first_not_of(" \n\r\t");
    if (start == std::string_view::npos) throw std::out_of_range("no number in a DDR line");
    return std::string(text.substr(start));
}

/** Reads a line into `freqMhz` and `timeMs`; false when it lacks one of the marks. */
bool parseDdrLine(std::string_view line, int32_t& freqMhz, int64_t& timeMs) {
    const size_t freq = line.find(kFreqMark);
    if (freq == std::string_view::npos) return false;
    const size_t mhz = line.find(kMhzMark, freq);
    if (mhz == std::string_view::npos) return false;
    const size_t time = line.find(kTimeMark, mhz);
    if (time == std::string_view::npos) return false;

    const size_t freqLength = mhz > kFreqTextStart ? mhz - kFreqTextStart : 0;
    freqMhz = atoi(stripLeading(line.substr(kFreqTextStart, freqLength)).c_str());
    const size_t timeStart = time + kTimeMark.size();
    const size_t blank = line.find(' ', timeStart);
    // The text includes the next blank, so a blank directly after the mark makes it " ".
    const size_t timeLength =
            blank == std::string_view::npos ? std::string_view::npos : blank + 1 - timeStart;
    timeMs = atol(stripLeading(line.substr(timeStart, timeLength)).c_str());
    return true;
}

/** Stores `timeMs` as the baseline of `freqMhz` and returns the time since the last one. */
int64_t advanceBaseline(std::map<int32_t, int64_t>& lastMs, int32_t freqMhz, int64_t timeMs) {
    int64_t& last = lastMs[freqMhz];
    const int64_t deltaMs = wrappingDifference(timeMs, last);
    last = timeMs;
    return deltaMs;
}

}  // namespace

void appendDdrResidencyEvents(const std::string& content, std::map<int32_t, int64_t>& lastMs,
                              int32_t atomTag, AStatsEventList* data) {
    forEachLine(content, [&](std::string_view line) {
        int32_t freqMhz = 0;
        int64_t timeMs = 0;
        if (!parseDdrLine(line, freqMhz, timeMs)) return;
        appendEvent(data, atomTag, freqMhz, advanceBaseline(lastMs, freqMhz, timeMs));
    });
}

void ZStatsPullAtomCallback::handleDdrLpmStats(int32_t atomTag, AStatsEventList* data) {
    // Always one event, with -1 for missing lines.
    KeyValueMap stats = parseKeyValueFromContent(getContentByHandleKey("ddr_lpm_stats"));
    AStatsEvent* event = beginEvent(data, atomTag);
    for (const char* key : {"self_refresh", "sleep1", "sleep2", "sleep3", "sleep4"}) {
        writeField(event, getValueByKey(stats, key));
    }
    AStatsEvent_build(event);
}

void ZStatsPullAtomCallback::handleDdrFreqTimeInformation(int32_t atomTag, AStatsEventList* data) {
    const char* key = isQcomPlatform() ? "power_ddr_residency" : "power_ddr_residency_mtk";
    // Held while the node is read: an overtaken reading would move the baseline back.
    const ScopedLock lock(mDdrLock);
    appendDdrResidencyEvents(getContentByHandleKey(key), mDdrResidencyMs, atomTag, data);
}

void ZStatsPullAtomCallback::handleUfsTimeInformation(int32_t atomTag, AStatsEventList* data) {
    const std::string content = getContentByHandleKey("ufs_freq_time");
    if (content.empty()) {
        ZLOG(ERROR, "Ufs get Node file is fail");
        return;
    }
    KeyValueMap times = parseKeyValueFromContent(content);
    const int32_t activeTime = getValueByKey(times, "active_time");
    appendEvent(data, atomTag, activeTime, getValueByKey(times, "sleep_time"));
}

void ZStatsPullAtomCallback::handleAllocstallUxInformation(int32_t atomTag, AStatsEventList* data) {
    const std::string content = getContentByHandleKey("allocstall_ux");
    appendEvent(data, atomTag, int64_t{atoi(content.c_str())});
}

void ZStatsPullAtomCallback::handleUfsTotalReadWriteSize(int32_t atomTag, AStatsEventList* data) {
    const std::string readSize = getContentByHandleKey("ufs_total_read_size");
    const std::string writeSize = getContentByHandleKey("ufs_total_write_size");
    // Checked after both reads, so that each missing node is logged.
    if (readSize.empty() || writeSize.empty()) return;
    appendEvent(data, atomTag, int32_t{atoi(readSize.c_str())}, int32_t{atoi(writeSize.c_str())});
}

}  // namespace zstats
