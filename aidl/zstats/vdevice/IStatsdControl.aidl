package zstats.vdevice;

import zstats.vdevice.EncodedEvent;
import zstats.vdevice.PullOutcome;
import zstats.vdevice.PullRegistration;

/** What tools may ask of the virtual device's statsd beyond what a device's statsd answers. */
interface IStatsdControl {
    /** Pulls one atom, by the rules of any other pull, from whoever registered it first. */
    PullOutcome pull(int atomTag);
    /** Pulls one atom at once: beside pulls of others, and whatever was answered before. For load. */
    PullOutcome pullNow(int atomTag);
    /** Lets pulls of several atoms overlap, or, as at first, not. For measurements. */
    void setParallelPulls(boolean parallel);
    /** Registrations in the order in which they arrived. */
    PullRegistration[] registrations();
    /** The last pushed atoms, oldest first. */
    EncodedEvent[] pushed();
}
