#include "vdevice/system/scripthost/KernelLog.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace zstats::vdevice {
namespace {

constexpr char kInitMark[] = "init: ";
constexpr size_t kMaxRecordBytes = 8192;

android_LogPriority priorityOf(int kernelLevel) {
    constexpr android_LogPriority kPriorities[] = {
            ANDROID_LOG_FATAL, ANDROID_LOG_FATAL, ANDROID_LOG_FATAL, ANDROID_LOG_ERROR,
            ANDROID_LOG_WARN,  ANDROID_LOG_INFO,  ANDROID_LOG_INFO,  ANDROID_LOG_DEBUG};
    return kPriorities[static_cast<unsigned>(kernelLevel) % std::size(kPriorities)];
}

/** A record is "LEVEL,NUMBER,MICROSECONDS,...;TEXT" and a line end. */
void passRecord(const std::string& record) {
    const size_t text = record.find(';') + 1;
    if (record.compare(text, sizeof(kInitMark) - 1, kInitMark) != 0) return;
    const size_t begin = text + sizeof(kInitMark) - 1;
    __android_log_write(priorityOf(atoi(record.c_str())), "init",
                        record.substr(begin, record.find('\n') - begin).c_str());
}

}  // namespace

KernelLog::KernelLog() : mLog(open("/dev/kmsg", O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}

void KernelLog::pass() {
    char record[kMaxRecordBytes];
    ssize_t count = 0;
    // EPIPE: older records were overwritten. The next read continues after them.
    while ((count = read(mLog.get(), record, sizeof(record))) > 0 || errno == EPIPE) {
        if (count > 0) passRecord({record, static_cast<size_t>(count)});
    }
}

}  // namespace zstats::vdevice
