#pragma once

/**
 * Included before libbinder's own sources: where the kernel's headers of a PC differ from those of
 * a device.
 */

#define __packed __attribute__((__packed__))

// binder_module.h tells by this name, which Debian's header does not carry, that it is included.
#define _UAPI_LINUX_BINDER_H
#include <linux/android/binder.h>

// Newer headers have these as enumerators; binder_module.h asks the preprocessor for them.
#ifndef BINDER_FREEZE
#define BINDER_FREEZE BINDER_FREEZE
#endif
#ifndef BINDER_GET_FROZEN_INFO
#define BINDER_GET_FROZEN_INFO BINDER_GET_FROZEN_INFO
#endif

// Android's kernels alone have these flags of a binder object: its node's scheduling.
#define FLAT_BINDER_FLAG_SCHED_POLICY_SHIFT 9
#define FLAT_BINDER_FLAG_INHERIT_RT 0x800
