#pragma once

#include <cstdint>

namespace zstats {

/**
 * The low 32 bits of a result. Sources are free to report any value, so sums, differences and
 * products of them are taken in 64 bits and wrapped, as the atoms' 32-bit fields have it.
 */
constexpr int32_t wrap32(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

/**
 * a - b in 64 bits, wrapped. The builtin wraps without tripping the overflow checks that a device's
 * build adds, which count unsigned arithmetic too.
 */
inline int64_t wrappingDifference(int64_t a, int64_t b) {
    int64_t difference = 0;
    static_cast<void>(__builtin_sub_overflow(a, b, &difference));
    return difference;
}

}  // namespace zstats
