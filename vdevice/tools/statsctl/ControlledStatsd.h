#pragma once

#include "cli/statsctl/Statsd.h"
#include "proto/statsd_control.pb.h"

namespace zstats::vdevice {

/** The virtual device's statsd, queried through its control socket. */
class ControlledStatsd : public cli::Statsd {
  public:
    std::string unavailable() override;
    cli::PulledAtom pull(int32_t tag) override;
    std::map<int32_t, cli::PulledAtom> pullFresh(const std::vector<int32_t>& tags) override;
    void setParallel(bool parallel) override;
    std::optional<std::set<int32_t>> registered() override;
    std::string registrationText(int32_t tag) override;
    std::vector<std::string> registrationTable() override;

    /** Pulls once, concurrent with other pulls and without the cool-down. */
    cli::PulledAtom pullNow(int32_t tag);

    /** The last pushed atoms, oldest first; no value if statsd does not answer. */
    std::optional<std::vector<cli::PulledAtom>> pushed();

  private:
    /** Sets `fromCache`, if given, to whether statsd answered from its cache. */
    cli::PulledAtom pull(int32_t tag, bool* fromCache);
};

}  // namespace zstats::vdevice
