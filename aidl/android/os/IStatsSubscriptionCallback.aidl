package android.os;

oneway interface IStatsSubscriptionCallback {
    /** Values of `reason`; an enumeration backed by int in newer compilers, the same on the wire. */
    const int STATSD_INITIATED = 1;
    const int FLUSH_REQUESTED = 2;
    const int SUBSCRIPTION_ENDED = 3;

    void onSubscriptionData(int reason, in byte[] subscriptionPayload);
}
