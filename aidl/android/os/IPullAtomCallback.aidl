package android.os;

import android.os.IPullAtomResultReceiver;

/** A process's answer to statsd's pulls of one atom. */
interface IPullAtomCallback {
    oneway void onPullAtom(int atomTag, IPullAtomResultReceiver resultReceiver);
}
