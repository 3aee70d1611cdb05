#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/lib/atoms/RecordedEvent.h"

namespace zstats::cli {

/** A metric without an event, and the reason. */
struct EmptyMetric {
    int64_t id = 0;
    std::string reason;  // statsd's drop reason; "no data" if it gave none
};

/** One report of a configuration. */
struct StatsReport {
    int64_t beginElapsedNs = 0;  // ns since boot
    int64_t endElapsedNs = 0;
    int64_t endWallNs = 0;              // ns since 1970, UTC; 0 if unknown
    std::vector<RecordedEvent> events;  // by time, then in the report's order
    std::vector<EmptyMetric> empty;
};

/** The content of a ConfigMetricsReportList. */
struct StatsReportList {
    int32_t uid = 0;       // owner of the configuration
    int64_t configId = 0;  // its id
    std::vector<StatsReport> reports;
};

/**
 * Decodes a ConfigMetricsReportList. Key fields that statsd moved into a metric's dimensions are
 * put back into the event. A string that statsd hashed becomes a hashedString(). No value if the
 * bytes are not such a message.
 */
std::optional<StatsReportList> parseStatsReports(std::string_view bytes);

}  // namespace zstats::cli
