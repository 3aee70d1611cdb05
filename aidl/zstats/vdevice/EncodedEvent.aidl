package zstats.vdevice;

/** A statistics event, byte for byte as its writer sent it. */
parcelable EncodedEvent {
    /** Who wrote it. */
    int uid;
    byte[] bytes;
}
