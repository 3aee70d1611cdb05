package android.util;

parcelable PropertyParcel {
    String property;
    String value;
}
