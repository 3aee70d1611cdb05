package android.util;

parcelable StatsEventParcel {
    byte[] buffer;
}
