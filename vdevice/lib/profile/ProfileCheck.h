#pragma once

#include <set>
#include <string>

namespace zstats::vdevice {

/** The names that a profile may use. */
struct ProfileNames {
    /** Services, by the name in the rc file or in binder. */
    std::set<std::string> services;
    std::set<std::string> chargerMethods;
};

/**
 * Checks a profile folder; vdevice/README.md describes the format. Returns the first error by file
 * name, as "FILE:LINE: REASON", or "FILE: REASON" if it has no line; empty without an error. Any
 * thread.
 */
std::string checkProfile(const std::string& folder, const ProfileNames& names);

}  // namespace zstats::vdevice
