#pragma once

#include <string>

#include "cli/lib/atoms/RecordedEvent.h"

namespace zstats::cli {

/** Lines of comma-separated values (RFC 4180, with plain line ends), without their line ends. */

/** The names of the columns: both times, and the catalogue's fields of the atom. */
std::string csvHeading(int32_t id);

/**
 * An event: its times as jsonRecorded() has them, and its fields. One that it lacks is empty, those
 * that the catalogue lacks are columns more, and the values of a list have semicolons between. A
 * text with a comma, a quote or a line end is quoted.
 */
std::string csvRow(const RecordedEvent& event);

}  // namespace zstats::cli
