#pragma once

#include <selinux/label.h>

// Functions of a phone's libselinux that Debian's lacks: labels of files by the device's file_contexts.

#define SELINUX_ANDROID_RESTORECON_RECURSE 4
#define SELINUX_ANDROID_RESTORECON_SKIPCE 16
#define SELINUX_ANDROID_RESTORECON_CROSS_FILESYSTEMS 32
#define SELINUX_ANDROID_RESTORECON_SKIP_SEHASH 64

extern "C" {
struct selabel_handle* selinux_android_file_context_handle();
void selinux_android_set_sehandle(const struct selabel_handle* handle);
int selinux_android_restorecon(const char* path, unsigned int flags);
}
