#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "vdevice/system/statsd/PullerManager.h"
#include "vdevice/system/statsd/ShellSubscriber.h"
#include "vdevice/system/statsd/StatsdBase.h"

namespace zstats::vdevice {

/** The service "stats": registrations of pullers, and the shell commands. Any thread. */
class StatsdService : public StatsdBase {
  public:
    /** True when the caller of the current transaction has this permission. */
    using PermissionCheck = std::function<bool(const char* permission)>;

    StatsdService(PullerManager* pullers, ShellSubscriber* subscriber, PermissionCheck check)
          : mPullers(pullers), mSubscriber(subscriber), mHasPermission(std::move(check)) {}

    Status registerNativePullAtomCallback(
            int32_t tag, int64_t coolDownMillis, int64_t timeoutMillis,
            const std::vector<int32_t>& additive,
            const std::shared_ptr<IPullAtomCallback>& callback) override;
    Status unregisterNativePullAtomCallback(int32_t tag) override;

    /** Called for uids 0 and 2000 only; the binder library refuses others. */
    binder_status_t handleShellCommand(int in, int out, int err, const char** argv,
                                       uint32_t argc) override;

  private:
    Status refuseWithoutPermission(int32_t tag) const;
    binder_status_t pullSource(int out, const std::vector<std::string>& args);
    void printStats(int out);

    PullerManager* const mPullers;
    ShellSubscriber* const mSubscriber;
    const PermissionCheck mHasPermission;
};

}  // namespace zstats::vdevice
