#pragma once

#include <cstdint>

namespace zstats {

// Nodes and services may hold any value, and an atom's field has the low bits of the result. Signed
// overflow is undefined, and the device's build aborts at unsigned overflow as well, so handlers
// compute such results with these functions.

/** The low 32 bits of a sum, difference or product of 32-bit values, made in 64 bits. */
constexpr int32_t wrap32(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

/** The low 64 bits of a + b. */
inline int64_t wrappingSum(int64_t a, int64_t b) {
    int64_t sum = 0;
    static_cast<void>(__builtin_add_overflow(a, b, &sum));
    return sum;
}

/** The low 64 bits of a - b. */
inline int64_t wrappingDifference(int64_t a, int64_t b) {
    int64_t difference = 0;
    static_cast<void>(__builtin_sub_overflow(a, b, &difference));
    return difference;
}

}  // namespace zstats
