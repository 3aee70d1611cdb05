#pragma once

#include <string>
#include <vector>

#include "cli/lib/atoms/RecordingFile.h"

namespace zstats::cli {

/**
 * Compares two recordings atom by atom. Returns a line for each atom or key that only one of them
 * has ("gone", "new") and for each field that moved. Numbers are compared by their median,
 * differences to the previous pull by their sum, other fields by the set of their values. Numbers
 * that moved by less than `minPercent` of their first value are left out.
 */
std::vector<std::string> diffRecordings(const std::vector<RecordingLine>& before,
                                        const std::vector<RecordingLine>& after, double minPercent);

}  // namespace zstats::cli
