#pragma once

#include <binder/IInterface.h>

/**
 * IMPLEMENT_META_INTERFACE for an interface that is written by hand. The platform's macro accepts
 * only a fixed list of descriptors; others are to be written in AIDL. This daemon's interfaces
 * cannot be: the main service has no methods, and "atomacq" has to check its requests as current
 * AIDL compilers do, which a PC's does not. Generated code uses the form without the list.
 */
#define IMPLEMENT_MANUAL_META_INTERFACE(INTERFACE, DESCRIPTOR) \
    DO_NOT_DIRECTLY_USE_ME_IMPLEMENT_META_INTERFACE(INTERFACE, DESCRIPTOR)
