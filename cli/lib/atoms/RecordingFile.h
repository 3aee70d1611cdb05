#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <vector>

#include "cli/lib/atoms/AtomCatalogue.h"

namespace zstats::cli {

/** A field of a recorded event, with its name in the recording. */
struct NamedValue {
    std::string name;
    AtomValue value;
};

/** An event of a recording. */
struct RecordingLine {
    int32_t atom = 0;
    std::string name;
    std::vector<NamedValue> fields;
};

/**
 * Reads the events of a recording in lines of JSON; skips lines without an event (headers, empty
 * pulls). Integers are exact up to 2^53. Throws std::runtime_error, with the line's number, for a
 * line that is not JSON or not of a recording.
 */
std::vector<RecordingLine> readRecording(std::istream& in);

}  // namespace zstats::cli
