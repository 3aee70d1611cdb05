# What the output of Debian's compiler for .aidl files (version 10) needs in order to fit Android 14's
# libraries and Android's wire. Each rule turns a line into what a compiler of that version writes;
# tests/unit/host/AidlWireTest.cpp holds the bytes that come of it. Used with sed -E by Aidl.cmake.

# NDK: objects of the library's classes are made by the library alone, so that none is without an
# owner.
s/\(new (Bp[A-Za-z0-9]+)\(binder\)\)->ref<I[A-Za-z0-9]+>\(\)/::ndk::SharedRefBase::make<\1>(binder)/

# NDK: a byte[] is unsigned.
s/std::vector<int8_t>/std::vector<uint8_t>/g

# NDK: the word "not null" before a parcelable is the library's to write and to read, for single ones
# as for those in arrays. Version 10 does it inside the parcelable instead, and then an element of an
# array would have it twice.
/^  int32_t _aidl_null;$/d
/^  _aidl_ret_status = AParcel_readInt32\(parcel, &_aidl_null\);$/,/^$/d
/^  if \(_aidl_null == 0\)/,/^$/d
/^  _aidl_ret_status = AParcel_writeInt32\(parcel, 1\);$/,/^$/d
s/\(([^()]+)\)\.writeToParcel\((_aidl_in\.get\(\)|_aidl_out|parcel)\)/::ndk::AParcel_writeParcelable(\2, \1)/
s/\(([^()]+)\)->readFromParcel\((_aidl_out\.get\(\)|_aidl_in|parcel)\)/::ndk::AParcel_readParcelable(\2, \1)/

# NDK: a number is 0 until it is set, in a parcelable and where one is read.
s/^  (bool|int8_t|char16_t|int32_t|int64_t|float|double) ([A-Za-z0-9_]+);$/  \1 \2 = 0;/

# NDK: a parcelable's size counts its own word.
s/if \(_aidl_parcelable_size < 0\) return/if (_aidl_ret_status == STATUS_OK \&\& _aidl_parcelable_size < 4) return/

# C++: what may be null is optional.
s/::std::unique_ptr</::std::optional</g
