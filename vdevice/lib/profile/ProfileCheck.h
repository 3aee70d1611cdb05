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
 * Checks a profile folder, whose format vdevice/README.md describes. Returns what is wrong first,
 * by file name, as "FILE:LINE: REASON", or "FILE: REASON" where it is no single line; empty if
 * nothing is. Any thread.
 */
std::string checkProfile(const std::string& folder, const ProfileNames& names);

}  // namespace zstats::vdevice
