#pragma once

#include <aidl/android/os/BnStatsd.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zstats::vdevice {

/**
 * statsd's interface with every call refused as unsupported. Derived classes implement what the
 * virtual device uses, which excludes configurations, reports, queries and alarms.
 */
class StatsdBase : public aidl::android::os::BnStatsd {
  protected:
    using Status = ndk::ScopedAStatus;
    using Bytes = std::vector<uint8_t>;
    using Longs = std::vector<int64_t>;
    using IPendingIntentRef = aidl::android::os::IPendingIntentRef;
    using IPullAtomCallback = aidl::android::os::IPullAtomCallback;
    using IStatsQueryCallback = aidl::android::os::IStatsQueryCallback;
    using IStatsSubscriptionCallback = aidl::android::os::IStatsSubscriptionCallback;
    using PropertyParcel = aidl::android::util::PropertyParcel;

    static Status unsupported() {
        return Status(AStatus_fromExceptionCode(EX_UNSUPPORTED_OPERATION));
    }

  public:
    Status systemRunning() override { return unsupported(); }
    Status bootCompleted() override { return unsupported(); }
    Status statsCompanionReady() override { return unsupported(); }
    Status informAnomalyAlarmFired() override { return unsupported(); }
    Status informPollAlarmFired() override { return unsupported(); }
    Status informAlarmForSubscriberTriggeringFired() override { return unsupported(); }
    Status informDeviceShutdown() override { return unsupported(); }
    Status informAllUidData(const ndk::ScopedFileDescriptor&) override { return unsupported(); }
    Status informOnePackage(const std::string&, int32_t, int64_t, const std::string&,
                            const std::string&, const Bytes&) override {
        return unsupported();
    }
    Status informOnePackageRemoved(const std::string&, int32_t) override { return unsupported(); }
    Status getData(int64_t, int32_t, Bytes*) override { return unsupported(); }
    Status getMetadata(Bytes*) override { return unsupported(); }
    Status addConfiguration(int64_t, const Bytes&, int32_t) override { return unsupported(); }
    Status setDataFetchOperation(int64_t, const std::shared_ptr<IPendingIntentRef>&,
                                 int32_t) override {
        return unsupported();
    }
    Status removeDataFetchOperation(int64_t, int32_t) override { return unsupported(); }
    Status setActiveConfigsChangedOperation(const std::shared_ptr<IPendingIntentRef>&, int32_t,
                                            Longs*) override {
        return unsupported();
    }
    Status removeActiveConfigsChangedOperation(int32_t) override { return unsupported(); }
    Status removeConfiguration(int64_t, int32_t) override { return unsupported(); }
    Status setBroadcastSubscriber(int64_t, int64_t, const std::shared_ptr<IPendingIntentRef>&,
                                  int32_t) override {
        return unsupported();
    }
    Status unsetBroadcastSubscriber(int64_t, int64_t, int32_t) override { return unsupported(); }
    Status allPullersFromBootRegistered() override { return unsupported(); }
    Status registerPullAtomCallback(int32_t, int32_t, int64_t, int64_t, const std::vector<int32_t>&,
                                    const std::shared_ptr<IPullAtomCallback>&) override {
        return unsupported();
    }
    Status registerNativePullAtomCallback(int32_t, int64_t, int64_t, const std::vector<int32_t>&,
                                          const std::shared_ptr<IPullAtomCallback>&) override {
        return unsupported();
    }
    Status unregisterPullAtomCallback(int32_t, int32_t) override { return unsupported(); }
    Status unregisterNativePullAtomCallback(int32_t) override { return unsupported(); }
    Status getRegisteredExperimentIds(Longs*) override { return unsupported(); }
    Status updateProperties(const std::vector<PropertyParcel>&) override { return unsupported(); }
    Status querySql(const std::string&, int32_t, const std::optional<Bytes>&,
                    const std::shared_ptr<IStatsQueryCallback>&, int64_t, const std::string&,
                    int32_t) override {
        return unsupported();
    }
    Status setRestrictedMetricsChangedOperation(int64_t, const std::string&,
                                                const std::shared_ptr<IPendingIntentRef>&, int32_t,
                                                Longs*) override {
        return unsupported();
    }
    Status removeRestrictedMetricsChangedOperation(int64_t, const std::string&, int32_t) override {
        return unsupported();
    }
    Status addSubscription(const Bytes&,
                           const std::shared_ptr<IStatsSubscriptionCallback>&) override {
        return unsupported();
    }
    Status removeSubscription(const std::shared_ptr<IStatsSubscriptionCallback>&) override {
        return unsupported();
    }
    Status flushSubscription(const std::shared_ptr<IStatsSubscriptionCallback>&) override {
        return unsupported();
    }
    Status getDataFd(int64_t, int32_t, const ndk::ScopedFileDescriptor&) override {
        return unsupported();
    }
};

}  // namespace zstats::vdevice
