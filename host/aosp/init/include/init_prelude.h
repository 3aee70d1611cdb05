#pragma once

/** Included before each source of Android's init: declarations of a device's C library. */

#include <android/api-level.h>
#include <limits.h>
#include <linux/reboot.h>
#include <paths.h>
#include <semaphore.h>
#include <signal.h>
#include <string.h>
#include <time.h>

#include "../../include/strlcpy.h"

#undef _PATH_DEFPATH
// NOLINTNEXTLINE(bugprone-reserved-identifier): a constant of <paths.h>
#define _PATH_DEFPATH                                                                       \
    "/product/bin:/apex/com.android.runtime/bin:/apex/com.android.art/bin:/system_ext/bin:" \
    "/system/bin:/system/xbin:/odm/bin:/vendor/bin:/vendor/xbin"

inline int sem_timedwait_monotonic_np(sem_t* semaphore, const timespec* until) {
    return sem_clockwait(semaphore, CLOCK_MONOTONIC, until);
}
