#pragma once

#include "vdevice/statsd/PullerRegistry.h"
#include "vdevice/statsd/ShellSubscriber.h"
#include "vdevice/statsd/StatsdBase.h"

namespace zstats::vdevice {

/** The service "stats": registrations of pullers, and the shell commands. Any thread. */
class StatsdService : public StatsdBase {
  public:
    StatsdService(PullerRegistry* pullers, ShellSubscriber* subscriber)
          : mPullers(pullers), mSubscriber(subscriber) {}

    Status registerPullAtomCallback(int32_t uid, int32_t tag, int64_t coolDownMillis,
                                    int64_t timeoutMillis, const std::vector<int32_t>& additive,
                                    const std::shared_ptr<IPullAtomCallback>& callback) override;
    Status registerNativePullAtomCallback(
            int32_t tag, int64_t coolDownMillis, int64_t timeoutMillis,
            const std::vector<int32_t>& additive,
            const std::shared_ptr<IPullAtomCallback>& callback) override;
    Status unregisterPullAtomCallback(int32_t uid, int32_t tag) override;
    Status unregisterNativePullAtomCallback(int32_t tag) override;

    /** Called for uid 0 and 2000 only; the binder library refuses everyone else. */
    binder_status_t handleShellCommand(int in, int out, int err, const char** argv,
                                       uint32_t argc) override;

  private:
    void pullSource(int out, int err, const std::vector<std::string>& args);
    void printStats(int out);

    PullerRegistry* const mPullers;
    ShellSubscriber* const mSubscriber;
};

}  // namespace zstats::vdevice
