#pragma once

#include <android/log.h>

/** Writes a log line with the tag "firststage". */
#define STAGE_LOG(priority, ...) \
    __android_log_print(ANDROID_LOG_##priority, "firststage", __VA_ARGS__)
