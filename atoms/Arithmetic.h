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

}  // namespace zstats
