#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <vector>

#include "cli/lib/atoms/AtomCatalogue.h"

namespace zstats::cli {

/** A field of a recorded event, with the name that the recording gives it. */
struct NamedValue {
    std::string name;
    AtomValue value;
};

/** An event of a recording in lines of JSON. */
struct RecordingLine {
    int32_t atom = 0;
    std::string name;
    std::vector<NamedValue> fields;
};

/**
 * Reads the events of a recording in lines of JSON; lines without an event (headers, pulls that
 * brought none) are passed over. Whole numbers are exact up to 2^53. Throws std::runtime_error,
 * with the number of the line, for one that is not JSON or not a line of a recording.
 */
std::vector<RecordingLine> readRecording(std::istream& in);

}  // namespace zstats::cli
