#pragma once

#include <string>
#include <vector>

#include "cli/lib/atoms/PulledAtom.h"

namespace zstats::cli {

/** Longest line that is broken neither for names nor for values, in characters. */
inline constexpr size_t kTextWidth = 116;

/** The fields of an event in one line: names, values, units. */
std::string eventText(int32_t id, const std::vector<AtomValue>& fields);

/** The heading over rows of atomText. */
std::string textHeading();

/**
 * What a pull brought, for people: a line for an atom of one event; a small table for one of
 * several, with bars for residencies; and in words that there is nothing. Ends with a line end.
 * `uptimeMs` is how long the device is up.
 */
std::string atomText(const PulledAtom& atom, int64_t uptimeMs);

}  // namespace zstats::cli
