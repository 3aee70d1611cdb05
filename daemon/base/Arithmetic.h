#pragma once

#include <cstdint>

namespace zstats {

// Nodes and services may hold any value, and the atoms' fields are the low bits of what is computed
// from them. Overflow of a signed integer is undefined, and the device's build ends the process at
// one of an unsigned integer as well, so such results are taken here.

/** The low 32 bits of a sum, difference or product of 32-bit values, made in 64 bits. */
constexpr int32_t wrap32(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

/** The low 64 bits of a - b. */
inline int64_t wrappingDifference(int64_t a, int64_t b) {
    int64_t difference = 0;
    static_cast<void>(__builtin_sub_overflow(a, b, &difference));
    return difference;
}

}  // namespace zstats
