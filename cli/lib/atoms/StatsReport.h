#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/lib/atoms/RecordedEvent.h"

namespace zstats::cli {

/** A metric without an event, and why. */
struct EmptyMetric {
    int64_t id = 0;
    std::string reason;  // statsd's drop reason; "no data" if it gave none
};

/** One report of a configuration. */
struct StatsReport {
    int64_t beginElapsedNs = 0;  // ns since boot
    int64_t endElapsedNs = 0;
    int64_t endWallNs = 0;              // ns since 1970, UTC; 0 if the report does not tell
    std::vector<RecordedEvent> events;  // by time, then in the report's order
    std::vector<EmptyMetric> empty;
};

/** What a ConfigMetricsReportList holds. */
struct StatsReportList {
    int32_t uid = 0;       // who owns the configuration
    int64_t configId = 0;  // its id
    std::vector<StatsReport> reports;
};

/**
 * Reads an encoded ConfigMetricsReportList. The key fields that statsd moved into a metric's
 * dimensions are back among the fields of the event. A string that statsd hashed is "hash:" and 16
 * hexadecimal digits. Returns nothing if the bytes are not such a message.
 */
std::optional<StatsReportList> parseStatsReports(std::string_view bytes);

}  // namespace zstats::cli
