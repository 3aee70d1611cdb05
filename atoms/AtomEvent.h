#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <string>

namespace zstats {

// One overload for each field type of the atoms.
inline void writeField(AStatsEvent* event, int32_t value) {
    AStatsEvent_writeInt32(event, value);
}
inline void writeField(AStatsEvent* event, int64_t value) {
    AStatsEvent_writeInt64(event, value);
}
inline void writeField(AStatsEvent* event, float value) {
    AStatsEvent_writeFloat(event, value);
}
inline void writeField(AStatsEvent* event, bool value) {
    AStatsEvent_writeBool(event, value);
}
inline void writeField(AStatsEvent* event, const std::string& value) {
    AStatsEvent_writeString(event, value.c_str());
}

/** A string literal would otherwise convert to bool. */
void writeField(AStatsEvent* event, const char* value) = delete;

/** Begins an event of the atom `atomTag`, without fields, in `data`, which owns it. */
inline AStatsEvent* beginEvent(AStatsEventList* data, int32_t atomTag) {
    AStatsEvent* event = AStatsEventList_addStatsEvent(data);
    AStatsEvent_setAtomId(event, static_cast<uint32_t>(atomTag));
    return event;
}

/** Appends one event with these fields, in this order; each field's C++ type is its atom type. */
template <typename... Fields>
void appendEvent(AStatsEventList* data, int32_t atomTag, const Fields&... fields) {
    AStatsEvent* event = beginEvent(data, atomTag);
    (writeField(event, fields), ...);
    AStatsEvent_build(event);
}

}  // namespace zstats
