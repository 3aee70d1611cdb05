#pragma once

#include <selinux/label.h>

// What a phone's libselinux has beyond Debian's: labels of files by the file_contexts of the device.

#define SELINUX_ANDROID_RESTORECON_RECURSE 4
#define SELINUX_ANDROID_RESTORECON_SKIPCE 16
#define SELINUX_ANDROID_RESTORECON_CROSS_FILESYSTEMS 32
#define SELINUX_ANDROID_RESTORECON_SKIP_SEHASH 64

extern "C" {
struct selabel_handle* selinux_android_file_context_handle();
void selinux_android_set_sehandle(const struct selabel_handle* handle);
int selinux_android_restorecon(const char* path, unsigned int flags);
}
