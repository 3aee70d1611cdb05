#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/lib/atoms/PulledAtom.h"

namespace zstats::cli {

/** The failure of a pull for which there is no statsd. */
inline constexpr char kNoStatsd[] = "statsd does not answer";

/** The device's statsd, as far as the tool asks it. Any thread. */
class Statsd {
  public:
    virtual ~Statsd() = default;

    /** Why it cannot be asked, in a few words; empty if it can. */
    virtual std::string unavailable() = 0;

    /** Pulls once. Within the cool-down of the pull before, the answer is the one of that pull. */
    virtual PulledAtom pull(int32_t tag) = 0;

    /** Pulls each atom once the cool-down is over: no answer is older than this call. */
    virtual std::map<int32_t, PulledAtom> pullFresh(const std::vector<int32_t>& tags) = 0;

    /** Has pulls of several atoms overlap, or not, where statsd lets that be chosen. */
    virtual void setParallel(bool parallel) = 0;

    /** Atoms with a puller; nothing if statsd does not answer. */
    virtual std::optional<std::set<int32_t>> registered() = 0;

    /** What statsd knows of an atom's puller: "yes" and what else, or "NO". */
    virtual std::string registrationText(int32_t tag) = 0;

    /** A heading, and a line for each puller; empty if statsd does not answer. */
    virtual std::vector<std::string> registrationTable() = 0;
};

}  // namespace zstats::cli
