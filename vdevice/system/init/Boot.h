#pragma once

#include <string>

namespace zstats::vdevice {

/** Where the kernel's own /proc and /sys stay visible when a profile changes them. */
inline constexpr char kKernelTrees[] = "/.kernel";

/** Makes the file systems, devices and the log file that everything else needs. */
void mountFileSystems();

/** Loads the binder driver and lets everyone use it. Returns what went wrong, empty if nothing. */
std::string loadBinder();

/** Loads the SELinux policy of the image, if there is one; the kernel stays permissive. */
std::string loadPolicy();

/** Shows the files of the profile's folder "root" at their places. */
std::string showProfileFiles();

}  // namespace zstats::vdevice
