#pragma once

#include <string>
#include <vector>

#include "cli/lib/atoms/PulledAtom.h"

namespace zstats::cli {

/** Lines are broken at this number of characters. */
inline constexpr size_t kTextWidth = 116;

/** The fields of an event in one line: names, values and units. */
std::string eventText(int32_t id, const std::vector<AtomValue>& fields);

/** The heading of the rows of atomText. */
std::string textHeading();

/**
 * The result of a pull as text: a line for one event, a table with bars for several, a remark if
 * there is none. Ends with a line end. `uptimeMs` is the time since boot.
 */
std::string atomText(const PulledAtom& atom, int64_t uptimeMs);

}  // namespace zstats::cli
