#pragma once

#include <string>
#include <utility>
#include <vector>

namespace zstats::cli {

/**
 * The files that reproduce one key's contents in the order of the reads: KEY, KEY.1, KEY.2, ...
 * Repetitions at the end are left out, because the last file is served for all later reads.
 */
std::vector<std::pair<std::string, std::string>> nodeFiles(const std::string& key,
                                                           std::vector<std::string> contents);

}  // namespace zstats::cli
