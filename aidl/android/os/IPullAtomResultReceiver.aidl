package android.os;

import android.util.StatsEventParcel;

/** Receives the events of one pull. */
interface IPullAtomResultReceiver {
    oneway void pullFinished(int atomTag, boolean success, in StatsEventParcel[] output);
}
