#pragma once

#include <android/log.h>

#include <cerrno>
#include <cstring>
#include <string>

/** Writes a log line with the tag "firststage". */
#define STAGE_LOG(priority, ...) \
    __android_log_print(ANDROID_LOG_##priority, "firststage", __VA_ARGS__)

namespace zstats::vdevice {

/** The error text of a step whose last system call has failed. */
inline std::string failed(const std::string& what) {
    return what + ": " + strerror(errno);
}

}  // namespace zstats::vdevice
