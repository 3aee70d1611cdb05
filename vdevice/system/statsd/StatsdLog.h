#pragma once

#include <android/log.h>

/** Writes a log line with statsd's tag. */
#define STATSD_LOG(priority, ...) \
    static_cast<void>(__android_log_print(ANDROID_LOG_##priority, "statsd", __VA_ARGS__))
