#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <memory>

#include "sources/ChargerClient.h"

namespace zstats {

/** A call of the charger that returns a number. */
using ChargerGetter = ndk::ScopedAStatus (ICharger::*)(int32_t* out);

/** Writes the warning of a handler that has no charger. `line` is a fixed part of its text. */
void warnWithoutCharger(const char* handler, int line);

/**
 * Makes the call and appends an event whose one field is its value. Returns false when the call
 * fails, which the handler warns of.
 */
bool appendChargerValue(ICharger& charger, ChargerGetter getter, int32_t atomTag,
                        AStatsEventList* data);

}  // namespace zstats
