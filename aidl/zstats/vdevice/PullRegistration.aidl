package zstats.vdevice;

/** A puller that is registered with statsd. */
parcelable PullRegistration {
    int uid;
    int atomTag;
    long coolDownMillis;
    long timeoutMillis;
    int[] additiveFields;
    /** False when its process has died and no pull has noticed yet. */
    boolean alive;
}
