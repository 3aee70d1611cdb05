#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <vector>

#include "sources/ChargerClient.h"

namespace zstats {

/** A call of the charger that returns a number. */
using ChargerGetter = ndk::ScopedAStatus (ICharger::*)(int32_t* out);

/** How a handler's warnings read. The line numbers are fixed parts of the texts. */
struct ChargerWarnings {
    const char* handler;
    int noServiceLine;
    int callFailedLine;
    const char* callFailedFormat;  // of the handler's name and callFailedLine
};

/**
 * Makes all these calls of `charger`, in this order, also when one fails. Returns their values, or
 * nothing, with a warning, when there is no charger or a call failed.
 */
std::optional<std::vector<int32_t>> readChargerValues(const std::shared_ptr<ICharger>& charger,
                                                      const ChargerWarnings& warnings,
                                                      std::initializer_list<ChargerGetter> getters);

}  // namespace zstats
