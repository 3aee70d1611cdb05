#pragma once

#include <string.h>

/** In the C library of a device, and of a PC from glibc 2.38 on. */
extern "C" size_t strlcpy(char* to, const char* from, size_t size) noexcept;
