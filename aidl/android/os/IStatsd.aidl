package android.os;

import android.os.IPendingIntentRef;
import android.os.IPullAtomCallback;
import android.os.IStatsQueryCallback;
import android.os.IStatsSubscriptionCallback;
import android.os.ParcelFileDescriptor;
import android.util.PropertyParcel;

/** The platform statistics service, as API 36 declares it. */
interface IStatsd {
    oneway void systemRunning();
    oneway void bootCompleted();
    void statsCompanionReady();
    void informAnomalyAlarmFired();
    void informPollAlarmFired();
    void informAlarmForSubscriberTriggeringFired();
    void informDeviceShutdown();
    oneway void informAllUidData(in ParcelFileDescriptor fd);
    oneway void informOnePackage(in String app, in int uid, in long version,
            in String version_string, in String installer, in byte[] certificate_hash);
    oneway void informOnePackageRemoved(in String app, in int uid);
    byte[] getData(in long key, int callingUid);
    byte[] getMetadata();
    void addConfiguration(in long configId, in byte[] config, in int callingUid);
    void setDataFetchOperation(long configId, in IPendingIntentRef pendingIntentRef,
            int callingUid);
    void removeDataFetchOperation(long configId, int callingUid);
    long[] setActiveConfigsChangedOperation(in IPendingIntentRef pendingIntentRef,
            int callingUid);
    void removeActiveConfigsChangedOperation(int callingUid);
    void removeConfiguration(in long configId, in int callingUid);
    void setBroadcastSubscriber(long configId, long subscriberId, in IPendingIntentRef pir,
            int callingUid);
    void unsetBroadcastSubscriber(long configId, long subscriberId, int callingUid);
    oneway void allPullersFromBootRegistered();
    oneway void registerPullAtomCallback(int uid, int atomTag, long coolDownMillis,
            long timeoutMillis, in int[] additiveFields, IPullAtomCallback pullerCallback);
    oneway void registerNativePullAtomCallback(int atomTag, long coolDownMillis,
            long timeoutMillis, in int[] additiveFields, IPullAtomCallback pullerCallback);
    oneway void unregisterPullAtomCallback(int uid, int atomTag);
    oneway void unregisterNativePullAtomCallback(int atomTag);
    long[] getRegisteredExperimentIds();
    oneway void updateProperties(in PropertyParcel[] properties);
    oneway void querySql(in String sqlQuery, in int minSqlClientVersion,
            in @nullable byte[] policyConfig, in IStatsQueryCallback queryCallback,
            in long configKey, in String configPackage, in int callingUid);
    long[] setRestrictedMetricsChangedOperation(in long configKey, in String configPackage,
            in IPendingIntentRef pir, int callingUid);
    void removeRestrictedMetricsChangedOperation(in long configKey, in String configPackage,
            in int callingUid);
    oneway void addSubscription(in byte[] subscriptionConfig,
            IStatsSubscriptionCallback callback);
    oneway void removeSubscription(IStatsSubscriptionCallback callback);
    oneway void flushSubscription(IStatsSubscriptionCallback callback);
    oneway void getDataFd(in long key, in int callingUid, in ParcelFileDescriptor fd);
}
