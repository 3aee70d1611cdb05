#pragma once

/** Included before everything: what the device's C library and compiler flags give every source. */

#include <sys/cdefs.h>

#define __ANDROID_API__ 36
#define __INTRODUCED_IN(level)

#ifdef __cplusplus
extern "C" [[noreturn]] void __assert(const char* file, int line, const char* message);
#endif
