#pragma once

#include <string.h>

/** Part of a device's C library, and of glibc since 2.38. */
extern "C" size_t strlcpy(char* to, const char* from, size_t size) noexcept;
