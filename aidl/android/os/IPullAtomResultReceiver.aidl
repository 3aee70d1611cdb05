package android.os;

import android.util.StatsEventParcel;

/** Where the events of one pull go. */
interface IPullAtomResultReceiver {
    oneway void pullFinished(int atomTag, boolean success, in StatsEventParcel[] output);
}
