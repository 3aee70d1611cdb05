#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace zstats {

/**
 * One field. Byte arrays arrive as strings of their bytes; lists, attribution chains and key-value
 * pairs as text ("[1,2]", "[1000:tag]", "{1:value}").
 */
using FieldValue = std::variant<int32_t, int64_t, float, bool, std::string>;

/** What an encoded event says. */
struct ReadEvent {
    /** False for an event whose number of elements was never stored. */
    bool built = false;
    /** ns since boot. */
    int64_t timestampNs = 0;
    /** 0 in an event that was left without one. */
    int32_t atomId = 0;
    std::vector<FieldValue> fields;
    /** Bits of the error field, 0 if there is none. Such a field is not among `fields`. */
    uint32_t errors = 0;
    /** Bytes after the last element that the event counts. */
    size_t trailingBytes = 0;

    /** True when statsd accepts the event: built, complete, without error and nothing behind. */
    bool valid() const { return built && errors == 0 && trailingBytes == 0; }
};

/**
 * Decodes an encoded event; safe on arbitrary bytes. Empty when the bytes are no event: no object,
 * no time stamp, an element of an unknown type, or fewer bytes than the counted elements need.
 * An unbuilt event is read up to the first element that does not read.
 */
std::optional<ReadEvent> readEvent(const uint8_t* bytes, size_t size);

/** True when statsd would accept these bytes. */
bool isValidEvent(const uint8_t* bytes, size_t size);

}  // namespace zstats
