#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vdevice/lib/atoms/AtomCatalogue.h"

namespace zstats::vdevice {

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

/** Decodes an encoded event, as much of it as there is. */
PulledEvent decodeEvent(std::string_view bytes);

/** A line for each event, or the one that says why there is none. */
std::vector<std::string> jsonLines(const PulledAtom& atom);

}  // namespace zstats::vdevice
