#pragma once

// clang-format off
#include "platform_prelude.h"  // first: the others need it
// clang-format on

#include <aidl/android/os/StatsDimensionsValueParcel.h>
#include <aidl/android/util/PropertyParcel.h>
#include <aidl/android/util/StatsEventParcel.h>
#include <android/binder_parcel_utils.h>

/**
 * Both this compiler's output and this library's headers put a "not null" word before a parcelable
 * in a vector. A device puts one: so these elements are written without the library's.
 */
#define ZSTATS_PARCEL_VECTOR_ELEMENT(Type)                                                         \
    namespace ndk {                                                                                \
    template <>                                                                                    \
    inline binder_status_t AParcel_writeStdVectorParcelableElement<Type>(AParcel * parcel,         \
                                                                         const void* vectorData,   \
                                                                         size_t index) {           \
        return static_cast<const std::vector<Type>*>(vectorData)->at(index).writeToParcel(parcel); \
    }                                                                                              \
    template <>                                                                                    \
    inline binder_status_t AParcel_readStdVectorParcelableElement<Type>(const AParcel* parcel,     \
                                                                        void* vectorData,          \
                                                                        size_t index) {            \
        return static_cast<std::vector<Type>*>(vectorData)->at(index).readFromParcel(parcel);      \
    }                                                                                              \
    }

ZSTATS_PARCEL_VECTOR_ELEMENT(::aidl::android::os::StatsDimensionsValueParcel)
ZSTATS_PARCEL_VECTOR_ELEMENT(::aidl::android::util::PropertyParcel)
ZSTATS_PARCEL_VECTOR_ELEMENT(::aidl::android::util::StatsEventParcel)

#undef ZSTATS_PARCEL_VECTOR_ELEMENT
