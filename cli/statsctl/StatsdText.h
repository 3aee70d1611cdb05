#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "cli/lib/atoms/ShellStream.h"

namespace zstats::cli {

/** What statsd counts of one pulled atom since its start. */
struct PullCounts {
    int64_t pulls = 0;
    int64_t fromCache = 0;
    int64_t timedOut = 0;
    int64_t noPuller = 0;
    int64_t callFailed = 0;
    int64_t registered = 0;
    int64_t unregistered = 0;
};

/** The counts by atom, from what statsd's command "print-stats" prints. */
std::map<int32_t, PullCounts> parsePullCounts(std::string_view text);

/**
 * The events that statsd's command "pull-source" prints, whose fields have the types that the
 * catalogue gives them, else those that statsd prints. Floats have the six decimals of that text.
 * Returns nothing for a text that is not the answer to a pull of `tag`, or is cut.
 */
std::optional<std::vector<StreamedAtom>> parsePullText(int32_t tag, std::string_view text);

}  // namespace zstats::cli
