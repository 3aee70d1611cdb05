#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <string>

namespace zstats {

/**
 * Idle states of each CPU on this device: those of a Qualcomm chip, those of a MediaTek chip when
 * `chipIdPath` exists, 0 on an unknown platform.
 */
int cpuIdleStateCount(const char* chipIdPath);

/**
 * Appends an event for each CPU of `range` ("FIRST-LAST"): its number and the idle time in ms over
 * its states. A state's time is in the file `cpuPrefix` N "/cpuidle/state" S "/time", in us; a
 * missing file counts as 0. A range without a dash, or with its ends out of order, appends nothing.
 * A non-numeric end makes std::stoi throw. Stops after 24,000 events, more than an answer can
 * carry. Any thread.
 */
void appendCpuIdleEvents(const std::string& cpuPrefix, int stateCount, const std::string& range,
                         int32_t atomTag, AStatsEventList* data);

/**
 * Appends an event for each CPU named in `content` ("cpu3:123456789012"), in ascending order: the
 * number and six fields from the value's decimal digits. The last of equal names wins. Throws
 * std::out_of_range at a value that needs more than 64 bits. Any thread.
 */
void appendPerfSchedinfoEvents(const std::string& content, int32_t atomTag, AStatsEventList* data);

}  // namespace zstats
