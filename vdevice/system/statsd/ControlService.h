#pragma once

#include <aidl/zstats/vdevice/BnStatsdControl.h>

#include <vector>

#include "vdevice/system/statsd/PullerManager.h"
#include "vdevice/system/statsd/PushedAtoms.h"

namespace zstats::vdevice {

/** The service "stats_control": what the virtual device's tools see of statsd. Any thread. */
class ControlService : public aidl::zstats::vdevice::BnStatsdControl {
  public:
    ControlService(PullerManager* pullers, PushedAtoms* pushedAtoms)
          : mPullers(pullers), mPushed(pushedAtoms) {}

    ndk::ScopedAStatus pull(int32_t tag, aidl::zstats::vdevice::PullOutcome* outcome) override;
    ndk::ScopedAStatus pullNow(int32_t tag, aidl::zstats::vdevice::PullOutcome* outcome) override;
    ndk::ScopedAStatus setParallelPulls(bool parallel) override;
    ndk::ScopedAStatus registrations(
            std::vector<aidl::zstats::vdevice::PullRegistration>* list) override;
    ndk::ScopedAStatus pushed(std::vector<aidl::zstats::vdevice::EncodedEvent>* events) override;

  private:
    PullerManager* const mPullers;
    PushedAtoms* const mPushed;
};

}  // namespace zstats::vdevice
