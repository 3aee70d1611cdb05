#pragma once

#include <cstdint>
#include <string>

#include "cli/lib/atoms/AtomMessage.h"

namespace zstats::cli {

/** An event and when it was written. */
struct RecordedEvent : AtomMessage {
    int64_t elapsedNs = 0;  // since boot
    int64_t wallNs = 0;     // since 1970, UTC; 0 if unknown
};

/** What a recording says of itself in its first line. Texts that are unknown are empty. */
struct RecordingHeader {
    std::string source;       // how it was made: subscribe, pull or report
    std::string device;       // ro.product.device
    std::string fingerprint;  // ro.build.fingerprint
    std::string daemon;       // build id of the daemon's program; root alone can read it
    std::string bootId;
    int64_t elapsedNs = 0;  // both clocks at one moment
    int64_t wallNs = 0;
};

/** The time in UTC as RFC 3339 writes it, to the nanosecond. */
std::string timeText(int64_t wallNs);

/** The first line of a recording in JSON, without its line end. */
std::string jsonHeader(const RecordingHeader& header);

/** The event as a line of JSON, without its line end; the boot id is left out if empty. */
std::string jsonRecorded(const RecordedEvent& event, const std::string& bootId, bool withUnits);

}  // namespace zstats::cli
