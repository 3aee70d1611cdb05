#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace zstats {

/** One field. */
using FieldValue = std::variant<int32_t, int64_t, float, bool, std::string>;

/** A decoded event. */
struct ReadEvent {
    /** False for an event whose number of elements was never stored. */
    bool built = false;
    /** ns since boot. */
    int64_t timestampNs = 0;
    /** 0 in an event without one. */
    int32_t atomId = 0;
    std::vector<FieldValue> fields;
    /** Bits of the error field, 0 without one. `fields` does not contain it. */
    uint32_t errors = 0;
    /** Bytes after the last counted element. */
    size_t trailingBytes = 0;

    /** True when statsd accepts the event: built, complete, without errors and trailing bytes. */
    bool valid() const { return built && errors == 0 && trailingBytes == 0; }
};

/**
 * Decodes an encoded event of the fields that <stats_event.h> writes; safe on arbitrary bytes. No
 * value when the bytes are not an event: no object, no time stamp, an element of another type or
 * with annotations, or too few bytes for the counted elements. An unbuilt event is decoded up to
 * the first invalid element.
 */
std::optional<ReadEvent> readEvent(const uint8_t* bytes, size_t size);

/** True when statsd would accept these bytes. */
bool isValidEvent(const uint8_t* bytes, size_t size);

}  // namespace zstats
