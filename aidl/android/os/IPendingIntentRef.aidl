package android.os;

import android.os.StatsDimensionsValueParcel;

interface IPendingIntentRef {
    oneway void sendDataBroadcast(long lastReportTimeNs);
    oneway void sendActiveConfigsChangedBroadcast(in long[] configIds);
    oneway void sendSubscriberBroadcast(long configUid, long configId, long subscriptionId,
            long subscriptionRuleId, in String[] cookies,
            in StatsDimensionsValueParcel dimensionsValueParcel);
    oneway void sendRestrictedMetricsChangedBroadcast(in long[] metricIds);
}
