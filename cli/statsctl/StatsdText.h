#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "cli/lib/atoms/ShellStream.h"

namespace zstats::cli {

/** statsd's counts for a pulled atom since its start. */
struct PullCounts {
    int64_t pulls = 0;
    int64_t fromCache = 0;
    int64_t timedOut = 0;
    int64_t noPuller = 0;
    int64_t callFailed = 0;
    int64_t registered = 0;
    int64_t unregistered = 0;
};

/** The counts by atom, from the output of statsd's command "print-stats". */
std::map<int32_t, PullCounts> parsePullCounts(std::string_view text);

/**
 * The events in the output of statsd's command "pull-source". Fields have the catalogue's types, or
 * the printed ones if unknown. Floats have the six decimals of the text. No value if the text is
 * not an answer to a pull of `tag`, or incomplete.
 */
std::optional<std::vector<StreamedAtom>> parsePullText(int32_t tag, std::string_view text);

}  // namespace zstats::cli
