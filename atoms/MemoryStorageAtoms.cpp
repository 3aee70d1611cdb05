#include "atoms/MemoryStorageAtoms.h"

#include <optional>
#include <string_view>

#include "atoms/AtomEvent.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Arithmetic.h"
#include "daemon/base/Log.h"
#include "daemon/base/Numbers.h"
#include "daemon/base/SystemHelpers.h"
#include "daemon/base/TextLines.h"

namespace zstats {
namespace {

constexpr std::string_view kFreqMark = "Freq";
constexpr std::string_view kMhzMark = "Mhz";
constexpr std::string_view kTimeMark = "Time(msec):";
// Index of the frequency's text: lines begin with "Freq" and one separator.
constexpr size_t kFreqTextStart = 5;

/** The two numbers of a line. */
struct DdrLine {
    int32_t freqMhz;
    int64_t timeMs;
};

/** Reads a line; returns nothing when it lacks one of the marks. */
std::optional<DdrLine> parseDdrLine(std::string_view line) {
    const size_t freq = line.find(kFreqMark);
    if (freq == std::string_view::npos) return std::nullopt;
    const size_t mhz = line.find(kMhzMark, freq);
    if (mhz == std::string_view::npos) return std::nullopt;
    const size_t time = line.find(kTimeMark, mhz);
    if (time == std::string_view::npos) return std::nullopt;

    const size_t freqLength = mhz > kFreqTextStart ? mhz - kFreqTextStart : 0;
    const std::string_view freqText = line.substr(kFreqTextStart, freqLength);
    std::string_view timeText = line.substr(time + kTimeMark.size());
    // The text includes the next blank, so a blank directly after the mark makes it " ".
    const size_t blank = timeText.find(' ');
    if (blank != std::string_view::npos) timeText = timeText.substr(0, blank + 1);
    return DdrLine{leadingInt32(withoutLeadingBlanks(freqText)),
                   leadingInt64(withoutLeadingBlanks(timeText))};
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
        const auto parsed = parseDdrLine(line);
        if (!parsed) return;
        const auto [freqMhz, timeMs] = *parsed;
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
    appendEvent(data, atomTag, int64_t{leadingInt32(content)});
}

void ZStatsPullAtomCallback::handleUfsTotalReadWriteSize(int32_t atomTag, AStatsEventList* data) {
    const std::string readSize = getContentByHandleKey("ufs_total_read_size");
    const std::string writeSize = getContentByHandleKey("ufs_total_write_size");
    // Checked after both reads, so that each missing node is logged.
    if (readSize.empty() || writeSize.empty()) return;
    appendEvent(data, atomTag, leadingInt32(readSize), leadingInt32(writeSize));
}

}  // namespace zstats
