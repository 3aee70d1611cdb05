#pragma once

#include <cstdint>
#include <string_view>

namespace zstats {

/**
 * The decimal integer at the start of `text`, as strtoll(text, nullptr, 10) reads it in the "C"
 * locale: behind whitespace, with an optional sign, up to the first other character. Returns 0
 * without a digit, and the nearest limit for a number beyond 64 bits. Any thread.
 */
int64_t leadingInt64(std::string_view text);

/** The same as atoi reads it where long has 64 bits: the low 32 bits of leadingInt64(). */
int32_t leadingInt32(std::string_view text);

}  // namespace zstats
