#pragma once

/**
 * Included before everything that uses the platform's headers on a PC: those headers lean on
 * includes that the device's C and C++ libraries give them.
 */

#define __ANDROID_API__ 10000  // everything that the headers know of is there
#define __INTRODUCED_IN(level)

#include <assert.h>
#include <linux/types.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#ifdef __cplusplus
#include <condition_variable>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

// Not declared by <assert.h> in a build without assertions.
extern "C" void __assert_fail(const char* assertion, const char* file, unsigned line,
                              const char* function) noexcept __attribute__((__noreturn__));

/** The device's C library has this with the parameters in this order. */
[[noreturn]] inline void __assert(const char* file, int line, const char* message) {
    __assert_fail(message, file, static_cast<unsigned>(line), "");
}
#endif
