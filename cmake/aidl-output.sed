# Adapts the output of Debian's AIDL compiler (version 10) to Android 14's libraries and wire format. Each
# rule turns a line into the output of a compiler of that version. tests/unit/host/AidlWireTest.cpp checks
# the bytes. Used with sed -E by Aidl.cmake.

# NDK: only SharedRefBase::make may create these objects, so that each has an owner.
s/\(new (Bp[A-Za-z0-9]+)\(binder\)\)->ref<I[A-Za-z0-9]+>\(\)/::ndk::SharedRefBase::make<\1>(binder)/

# NDK: a byte[] is unsigned.
s/std::vector<int8_t>/std::vector<uint8_t>/g

# NDK: the library writes and reads the word "not null" before a parcelable, single or in an array. Version
# 10 does so in the parcelable, so that an element of an array would have it twice.
/^  int32_t _aidl_null;$/d
/^  _aidl_ret_status = AParcel_readInt32\(parcel, &_aidl_null\);$/,/^$/d
/^  if \(_aidl_null == 0\)/,/^$/d
/^  _aidl_ret_status = AParcel_writeInt32\(parcel, 1\);$/,/^$/d
s/\(([^()]+)\)\.writeToParcel\((_aidl_in\.get\(\)|_aidl_out|parcel)\)/::ndk::AParcel_writeParcelable(\2, \1)/
s/\(([^()]+)\)->readFromParcel\((_aidl_out\.get\(\)|_aidl_in|parcel)\)/::ndk::AParcel_readParcelable(\2, \1)/

# NDK: numbers are initialised to 0, in a parcelable and before they are read.
s/^  (bool|int8_t|char16_t|int32_t|int64_t|float|double) ([A-Za-z0-9_]+);$/  \1 \2 = 0;/

# NDK: a parcelable's size includes the word with the size.
s/if \(_aidl_parcelable_size < 0\) return/if (_aidl_ret_status == STATUS_OK \&\& _aidl_parcelable_size < 4) return/

# C++: nullable types are std::optional.
s/::std::unique_ptr</::std::optional</g
