#include "atoms/CpuAtoms.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <regex>

#include "atoms/AtomEvent.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Arithmetic.h"
#include "daemon/base/Log.h"
#include "daemon/base/Numbers.h"
#include "daemon/base/SystemHelpers.h"

namespace zstats {

using android::base::unique_fd;

namespace {

// Idle states of each CPU.
constexpr int kQcomIdleStates = 2;
constexpr int kMtkIdleStates = 8;
constexpr int64_t kUsPerMs = 1000;

// An answer with this many events takes 1,056,004 bytes, more than a binder transaction carries, so
// further events could not be delivered.
constexpr int64_t kMostIdleEvents = 24'000;

/** Assigns the file's text to `content`, empty when there is none. Reuses its buffer. */
void readIdleFile(const std::string& path, std::string& content) {
    constexpr char kFunction[] = "getContentByHandleKeyDebug";  // the name in the log lines
    content.clear();
    const unique_fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.ok()) {
        ZLOG_AT(2, DEBUG,
                "ZStatsPullAtomCallback::%s Failed to open the file! node path dir: %s, "
                "isOpen:%d ",
                kFunction, path.c_str(), 0);
        return;
    }
    static_cast<void>(readToEnd(fd.get(), &content));
    ZLOG_AT(2, DEBUG, "ZStatsPullAtomCallback::%s Print the content of the file: %s ", kFunction,
            content.c_str());
}

/** Idle time of one CPU over its states in us; a sum beyond 64 bits wraps around. */
int64_t totalIdleUs(const std::string& cpuPrefix, int cpu, int stateCount, std::string& path,
                    std::string& content) {
    path.assign(cpuPrefix).append(std::to_string(cpu)).append("/cpuidle/state");
    const size_t stem = path.size();
    int64_t totalUs = 0;
    for (int state = 0; state < stateCount; ++state) {
        path.resize(stem);
        path.append(std::to_string(state)).append("/time");
        readIdleFile(path, content);
        totalUs = wrappingSum(totalUs, leadingInt64(content));
    }
    return totalUs;
}

}  // namespace

int cpuIdleStateCount(const char* chipIdPath) {
    if (isQcomPlatform()) return kQcomIdleStates;
    return access(chipIdPath, F_OK) == 0 ? kMtkIdleStates : 0;
}

void appendCpuIdleEvents(const std::string& cpuPrefix, int stateCount, const std::string& range,
                         int32_t atomTag, AStatsEventList* data) {
    const size_t dash = range.find('-');
    if (dash == std::string::npos) return;
    const int first = std::stoi(range.substr(0, dash));
    const int last = std::stoi(range.substr(dash + 1));
    // One past the last. `first` is never negative, because the first '-' ends it. A negative end,
    // as after INT_MAX, leaves no CPU.
    const int64_t end = std::min<int64_t>(wrap32(int64_t{last} + 1), first + kMostIdleEvents);
    std::string path;
    std::string content;
    for (int cpu = first; cpu < end; ++cpu) {
        const int64_t totalUs = totalIdleUs(cpuPrefix, cpu, stateCount, path, content);
        appendEvent(data, atomTag, int32_t{cpu}, totalUs / kUsPerMs);
    }
}

void appendPerfSchedinfoEvents(const std::string& content, int32_t atomTag, AStatsEventList* data) {
    // One digit after "cpu": the node names only CPUs 0 to 9.
    const std::regex pattern("(cpu\\d):(\\d+)");
    std::map<std::string, std::string> values;
    for (std::sregex_iterator match(content.begin(), content.end(), pattern), end; match != end;
         ++match) {
        values[(*match)[1]] = (*match)[2];
    }
    for (const auto& [name, digits] : values) {
        // Decimal digits from the least significant: 0, 1-3, 4, 5, 6-9, 10-11.
        const int64_t value = std::stoll(digits);
        appendEvent(data, atomTag, int32_t{std::stoi(name.substr(3))},
                    static_cast<int32_t>(value % 10), static_cast<int32_t>(value / 10 % 1000),
                    static_cast<int32_t>(value / 10'000 % 10),
                    static_cast<int32_t>(value / 100'000 % 10),
                    static_cast<int32_t>(value / 1'000'000 % 10'000),
                    static_cast<int32_t>(value / 10'000'000'000 % 100));
    }
}

void ZStatsPullAtomCallback::handleCpuLeakageInformation(int32_t atomTag, AStatsEventList* data) {
    const int32_t leakageType = getValueByHandleKey("cpu_leakage_type");
    const int32_t core = getValueByHandleKey("cpu_core");
    appendEvent(data, atomTag, leakageType, core);
    ZLOG_AT(2, DEBUG, "PullAtomCallback %s handler for cpuLeakageType = %d, cpuCore = %d", __func__,
            leakageType, core);
}

void ZStatsPullAtomCallback::handleCpuIdle(int32_t atomTag, AStatsEventList* data) {
    const int stateCount = cpuIdleStateCount(kMtkChipIdPath);
    if (stateCount == 0) {
        ZLOG(ERROR, "get cpu type failed");
        return;
    }
    appendCpuIdleEvents("/sys/devices/system/cpu/cpu", stateCount,
                        getContentByHandleKey("cpu_index_range"), atomTag, data);
}

void ZStatsPullAtomCallback::handlePerfSchedinfo(int32_t atomTag, AStatsEventList* data) {
    appendPerfSchedinfoEvents(getContentByHandleKey("perf_schedinfo"), atomTag, data);
}

}  // namespace zstats
