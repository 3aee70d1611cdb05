#pragma once

#include <binder/IInterface.h>

/**
 * IMPLEMENT_META_INTERFACE for an interface that is written by hand. The platform's macro of that
 * name compiles for a fixed list of descriptors alone, to have all others written in AIDL. Neither
 * of this daemon's interfaces can be: the main service answers dump requests and has no methods,
 * and "atomacq" has to check its requests in a given order. The form without the list is the one
 * that the code of the platform's AIDL compiler uses.
 */
#define IMPLEMENT_MANUAL_META_INTERFACE(INTERFACE, DESCRIPTOR) \
    DO_NOT_DIRECTLY_USE_ME_IMPLEMENT_META_INTERFACE(INTERFACE, DESCRIPTOR)
