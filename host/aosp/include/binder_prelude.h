#pragma once

/**
 * Included before libbinder's sources: differences of a PC's kernel headers to those of a device.
 */

#define __packed __attribute__((__packed__))

// binder_module.h recognises the kernel header by this name, which Debian's header lacks.
#define _UAPI_LINUX_BINDER_H
#include <linux/android/binder.h>

// Newer headers have these as enumerators, but binder_module.h tests for macros.
#ifndef BINDER_FREEZE
#define BINDER_FREEZE BINDER_FREEZE
#endif
#ifndef BINDER_GET_FROZEN_INFO
#define BINDER_GET_FROZEN_INFO BINDER_GET_FROZEN_INFO
#endif

// Flags of a binder object for its node's scheduling, which only Android's kernels have.
#define FLAT_BINDER_FLAG_SCHED_POLICY_SHIFT 9
#define FLAT_BINDER_FLAG_INHERIT_RT 0x800
