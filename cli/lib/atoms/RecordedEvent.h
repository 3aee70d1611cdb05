#pragma once

#include <cstdint>
#include <string>

#include "cli/lib/atoms/AtomMessage.h"

namespace zstats::cli {

/** An event and its times. */
struct RecordedEvent : AtomMessage {
    int64_t elapsedNs = 0;  // since boot
    int64_t wallNs = 0;     // since 1970, UTC; 0 if unknown
};

/** The first line of a recording. Unknown texts are empty. */
struct RecordingHeader {
    std::string source;       // the command that made it: subscribe, pull or report
    std::string device;       // ro.product.device
    std::string fingerprint;  // ro.build.fingerprint
    std::string daemon;       // build id of the daemon's program; only root can read it
    std::string bootId;
    int64_t elapsedNs = 0;  // both clocks at the same moment
    int64_t wallNs = 0;
};

/** The time in UTC in the format of RFC 3339, with nanoseconds. */
std::string timeText(int64_t wallNs);

/** The first line of a recording in JSON, without its line end. */
std::string jsonHeader(const RecordingHeader& header);

/** The event as a line of JSON, without its line end and without an empty boot id. */
std::string jsonRecorded(const RecordedEvent& event, const std::string& bootId, bool withUnits);

}  // namespace zstats::cli
