#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/lib/atoms/AtomCatalogue.h"

namespace zstats::cli {

/** An event that a pull brought. */
struct PulledEvent {
    bool valid = false;  // false: left unbuilt, or broken; statsd rejects it
    std::vector<AtomValue> fields;
};

/** What became of the pull of one atom. */
struct PulledAtom {
    int32_t tag = 0;
    std::string failure;  // why it was not answered; empty if it was
    std::vector<PulledEvent> events;

    bool answered() const { return failure.empty(); }
};

/** A line for each event, or the one that says why there is none. */
std::vector<std::string> jsonLines(const PulledAtom& atom);

}  // namespace zstats::cli
