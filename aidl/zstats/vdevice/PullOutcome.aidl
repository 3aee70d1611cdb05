package zstats.vdevice;

import zstats.vdevice.EncodedEvent;

/** How a pull went. */
parcelable PullOutcome {
    boolean answered;
    /** Why it was not answered; empty if it was. */
    String failure;
    /** True when the answer is the cache's, because the cool-down was still running. */
    boolean fromCache;
    /** All that was sent, also what statsd cannot parse. */
    EncodedEvent[] events;
}
