#pragma once

#include <aidl/vendor/norda/hardware/charger/ICharger.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <vector>

#include "daemon/ZStatsPullAtomCallback.h"

namespace zstats {

/** One of the charger's calls that answer with a number. */
using ChargerGetter = ndk::ScopedAStatus (ZStatsPullAtomCallback::ICharger::*)(int32_t* out);

/** How a handler's warnings read. The line numbers are fixed parts of the texts. */
struct ChargerWarnings {
    const char* handler;
    int noServiceLine;
    int callFailedLine;
    const char* callFailedFormat;  // of the handler's name and callFailedLine
};

/**
 * Makes all these calls, in this order, also when one fails. Returns their values, or nothing, with
 * a warning at level 0, when the service is absent or any call did not succeed.
 */
std::optional<std::vector<int32_t>> readCharger(ZStatsPullAtomCallback& callback,
                                                const ChargerWarnings& warnings,
                                                std::initializer_list<ChargerGetter> getters);

}  // namespace zstats
