#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/lib/atoms/AtomCatalogue.h"

namespace zstats::cli {

/** An event of a pull. */
struct PulledEvent {
    bool valid = false;  // false: unbuilt or malformed; statsd rejects it
    std::vector<AtomValue> fields;
};

/** The result of a pull of one atom. */
struct PulledAtom {
    int32_t tag = 0;
    std::string failure;  // the reason without an answer; empty with one
    std::vector<PulledEvent> events;

    bool answered() const { return failure.empty(); }
};

/** A line for each event, or one line with the reason for none. */
std::vector<std::string> jsonLines(const PulledAtom& atom);

}  // namespace zstats::cli
