#pragma once

#include <android/log.h>

/** Writes a line to the device's log under the tag "init". */
#define INIT_LOG(priority, ...) __android_log_print(ANDROID_LOG_##priority, "init", __VA_ARGS__)
