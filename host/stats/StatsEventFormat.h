#pragma once

#include <cstddef>
#include <cstdint>

namespace zstats {

/** Type ids of an encoded event. */
enum EventType : uint8_t {
    kTypeInt32 = 0x00,
    kTypeInt64 = 0x01,
    kTypeString = 0x02,
    kTypeFloat = 0x04,
    kTypeBool = 0x05,
    kTypeObject = 0x07,
    kTypeError = 0x0f,
};

/** Bits of an error field. */
enum EventError : uint32_t {
    kErrorNoAtomId = 0x2,
    kErrorOverflow = 0x4,
    kErrorTooManyFields = 0x200,
    kErrorAtomIdMisplaced = 0x2000,
};

/** Offsets in bytes. */
inline constexpr size_t kCountOffset = 1;
inline constexpr size_t kAtomIdTypeOffset = 11;
inline constexpr size_t kFieldsOffset = 16;

/** Maximum number of elements. */
inline constexpr size_t kMaxElements = 127;
/** Maximum size of a pulled event. */
inline constexpr size_t kMaxPulledBytes = size_t{50} * 1024;
/** Maximum size of a pushed event: a log entry of 4068 bytes without its tag. */
inline constexpr size_t kMaxPushedBytes = 4064;

}  // namespace zstats
