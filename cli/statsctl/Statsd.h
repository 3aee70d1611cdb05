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

/** The queries of the tool to the device's statsd. Any thread. */
class Statsd {
  public:
    virtual ~Statsd() = default;

    /** The reason for which it cannot be queried; empty if it can. */
    virtual std::string unavailable() = 0;

    /** Pulls once. Within the cool-down, the answer is that of the previous pull. */
    virtual PulledAtom pull(int32_t tag) = 0;

    /** Pulls each atom after its cool-down: no answer is older than this call. */
    virtual std::map<int32_t, PulledAtom> pullFresh(const std::vector<int32_t>& tags) = 0;

    /** Sets whether pulls of several atoms may overlap, if statsd supports that. */
    virtual void setParallel(bool parallel) = 0;

    /** Atoms with a puller; no value if statsd does not answer. */
    virtual std::optional<std::set<int32_t>> registered() = 0;

    /** A description of an atom's puller: "yes" and its terms, or "NO". Exact after a pull of the atom. */
    virtual std::string registrationText(int32_t tag) = 0;

    /** A heading, and a line for each puller; empty if statsd does not answer. */
    virtual std::vector<std::string> registrationTable() = 0;
};

}  // namespace zstats::cli
