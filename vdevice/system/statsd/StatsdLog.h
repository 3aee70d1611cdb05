#pragma once

#include <android/log.h>

/** A line of the virtual device's log under statsd's tag. */
#define STATSD_LOG(priority, ...) \
    static_cast<void>(__android_log_print(ANDROID_LOG_##priority, "statsd", __VA_ARGS__))
