#include "atoms/ActivityWakeUpSourceAtom.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "atoms/AtomEvent.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Log.h"
#include "daemon/base/Numbers.h"
#include "daemon/base/SystemHelpers.h"

namespace zstats {
namespace {

/** A file of a wake-up source and the field that it fills; null for the file with the name. */
struct Attribute {
    const char* file;
    int64_t WakeLockInfo::*number;
};

constexpr Attribute kAttributes[] = {
        {"/active_count", &WakeLockInfo::activeCount},
        {"/event_count", &WakeLockInfo::eventCount},
        {"/last_change_ms", &WakeLockInfo::lastChange},
        {"/name", nullptr},
        {"/expire_count", &WakeLockInfo::expireCount},
        {"/max_time_ms", &WakeLockInfo::maxTime},
        {"/prevent_suspend_time_ms", &WakeLockInfo::preventSuspendTime},
        {"/total_time_ms", &WakeLockInfo::totalTime},
        {"/wakeup_count", &WakeLockInfo::wakeupCount},
};

// The longest entry and attribute after the directory, so that the path is never reallocated.
constexpr size_t kLongestEntryPath = NAME_MAX + sizeof("/prevent_suspend_time_ms");

/** Reads the sources of one directory. They share a path and a content buffer. */
class WakeUpSourceReader {
  public:
    explicit WakeUpSourceReader(const char* directory)
          : mPath(directory), mDirectoryLength(mPath.size()), mSourceLength(mPath.size()) {
        mPath.reserve(mDirectoryLength + kLongestEntryPath);
    }

    /** Fills `info` from the source `entry`; leaves its times 0 when the source cannot be read. */
    void read(const char* entry, WakeLockInfo& info) {
        mPath.resize(mDirectoryLength);
        mPath.append(entry);
        mSourceLength = mPath.size();
        errno = 0;  // an empty file counts as unreadable and sets no errno
        if (!readAttribute("/active_time_ms")) {
            ZLOG_AT(2, DEBUG, "ActivityWakeUpSourceAtom readFile is fail %d", -errno);
            return;
        }
        info.activeTime = leadingInt64(mContent);
        if (info.activeTime == 0) return;
        readStatistics(info);
    }

  private:
    /** Fills the other fields of an active source. An unreadable attribute stays 0. */
    void readStatistics(WakeLockInfo& info) {
        for (const Attribute& attribute : kAttributes) {
            if (!readAttribute(attribute.file)) continue;
            if (attribute.number == nullptr) {
                info.name = mContent;
            } else {
                info.*attribute.number = leadingInt64(mContent);
            }
        }
        info.isActive = info.activeTime > 0;
        info.isKernelWakelock = true;
    }

    /** Stores a file's text, without newlines, in mContent; false when there is none. */
    bool readAttribute(const char* file) {
        mPath.resize(mSourceLength);
        mPath.append(file);
        mContent.clear();
        if (readFile(mPath, &mContent) < 1) return false;
        mContent.erase(std::remove(mContent.begin(), mContent.end(), '\n'), mContent.end());
        return true;
    }

    std::string mPath;
    const size_t mDirectoryLength;
    size_t mSourceLength;
    std::string mContent;
};

}  // namespace

void getWakeLockStats(std::vector<WakeLockInfo>* out) {
    getWakeLockStatsAt("/sys/class/wakeup/", out);
}

void getWakeLockStatsAt(const char* directory, std::vector<WakeLockInfo>* out) {
    const std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(directory), closedir);
    if (dir == nullptr) return;
    WakeUpSourceReader reader(directory);
    while (const dirent* entry = readdir(dir.get())) {
        if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) continue;
        WakeLockInfo info;
        reader.read(entry->d_name, info);
        if (info.activeTime >= 1) out->push_back(std::move(info));
    }
}

void appendWakeLockEvents(const std::vector<WakeLockInfo>& records, int32_t atomTag,
                          AStatsEventList* data) {
    constexpr int32_t kNoProcess = -1;  // kernel wake-up sources belong to no process
    for (const WakeLockInfo& info : records) {
        if (info.activeTime < 1) continue;
        appendEvent(data, atomTag, info.name, info.activeCount, info.lastChange, info.maxTime,
                    info.totalTime, info.isActive, info.activeTime, info.isKernelWakelock,
                    kNoProcess, info.eventCount, info.expireCount, info.preventSuspendTime,
                    info.wakeupCount);
    }
}

void ZStatsPullAtomCallback::handleActiveWakeUpSource(int32_t atomTag, AStatsEventList* data) {
    std::vector<WakeLockInfo> records;
    getWakeLockStats(&records);
    appendWakeLockEvents(records, atomTag, data);
}

}  // namespace zstats
