#pragma once

#include <set>
#include <string_view>

#include "cli/statsctl/Statsd.h"
#include "cli/statsctl/StatsdText.h"
#include "daemon/base/Mutex.h"

namespace zstats::cli {

/**
 * A phone's statsd, queried with its shell commands, which serve root and shell: pulls by
 * "pull-source", registrations by the counts of "print-stats". Starts binder threads.
 */
class PlatformStatsd : public Statsd {
  public:
    std::string unavailable() override;
    PulledAtom pull(int32_t tag) override;
    /** Waits for the cool-down once. */
    std::map<int32_t, PulledAtom> pullFresh(const std::vector<int32_t>& tags) override;
    /** Has no effect: this statsd decides. */
    void setParallel(bool) override {}
    std::optional<std::set<int32_t>> registered() override;
    std::string registrationText(int32_t tag) override;
    std::vector<std::string> registrationTable() override;

  private:
    using Counts = std::map<int32_t, PullCounts>;

    static std::optional<Counts> askForCounts();
    std::string failureOf(int32_t tag, int32_t status);
    void keepCounts();

    Mutex mLock;
    std::optional<Counts> mCounts GUARDED_BY(mLock);  // before the pulls
    // Atoms whose last failed pull had no puller. The counts alone do not show that: a registration
    // that replaces another one is counted without a removal.
    std::set<int32_t> mWithoutPuller GUARDED_BY(mLock);
};

}  // namespace zstats::cli
