#pragma once

/** Versions of the platform, with the names of a device's C library. */
#define __ANDROID_API_FUTURE__ 10000
#define __ANDROID_API_P__ 28
#define __ANDROID_API_Q__ 29
#define __ANDROID_API_R__ 30
#define __ANDROID_API_S__ 31
#define __ANDROID_API_T__ 33
#define __ANDROID_API_U__ 34
