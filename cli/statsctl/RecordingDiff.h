#pragma once

#include <string>
#include <vector>

#include "cli/lib/atoms/RecordingFile.h"

namespace zstats::cli {

/**
 * Compares two recordings atom by atom. Returns a line for each atom or key that only one of them
 * has ("gone", "new") and for each field that moved: a number by its median over the recording, or
 * by its sum where the atom counts from the pull before; any other field by the set of its values.
 * A number that moved by less than `minPercent` of its first value is left out.
 */
std::vector<std::string> diffRecordings(const std::vector<RecordingLine>& before,
                                        const std::vector<RecordingLine>& after, double minPercent);

}  // namespace zstats::cli
