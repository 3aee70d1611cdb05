package android.os;

parcelable Temperature cpp_header "android/Temperature.h";
