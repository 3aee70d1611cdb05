#pragma once

#include <cstddef>
#include <cstdint>

namespace zstats {

/** Type ids of an encoded event: the low half of a type byte. The high half counts annotations. */
enum EventType : uint8_t {
    kTypeInt32 = 0x00,
    kTypeInt64 = 0x01,
    kTypeString = 0x02,
    kTypeList = 0x03,
    kTypeFloat = 0x04,
    kTypeBool = 0x05,
    kTypeByteArray = 0x06,
    kTypeObject = 0x07,
    kTypeKeyValuePairs = 0x08,
    kTypeAttributionChain = 0x09,
    kTypeError = 0x0f,
};

/** Bits of an error field. */
enum EventError : uint32_t {
    kErrorNoTimestamp = 0x1,
    kErrorNoAtomId = 0x2,
    kErrorOverflow = 0x4,
    kErrorChainTooLong = 0x8,
    kErrorAnnotationWithoutField = 0x20,
    kErrorAnnotationIdTooLarge = 0x80,
    kErrorTooManyAnnotations = 0x100,
    kErrorTooManyFields = 0x200,
    kErrorAtomIdMisplaced = 0x2000,
    kErrorListTooLong = 0x4000,
};

/** Offsets in bytes; the time stamp and the atom id are preceded by their type byte. */
inline constexpr size_t kCountOffset = 1;
inline constexpr size_t kTimestampOffset = 3;
inline constexpr size_t kAtomIdTypeOffset = 11;
inline constexpr size_t kFieldsOffset = 16;

/** Maximum of a count byte: elements, list elements, nodes, annotation ids. */
inline constexpr size_t kMaxCount = 127;
inline constexpr size_t kMaxAnnotations = 15;
/** Maximum size of a pulled event. */
inline constexpr size_t kMaxPulledBytes = size_t{50} * 1024;
/** Maximum size of a pushed event: a log entry of 4068 bytes without its tag. */
inline constexpr size_t kMaxPushedBytes = 4064;

}  // namespace zstats
